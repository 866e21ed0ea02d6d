#include "tarnwell/win32/context_menu.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

#include "common/crypto/pkcs7_request.h"
#include "common/system/text/convert.h"
#include "tarnwell/win32/context_menu_selection.h"
#include "tarnwell/win32/guard.h"
#include "tarnwell/win32/menu_bitmap.h"
// Windows last: the masks of a command's structure are defined through this header.
#include <shellapi.h>

namespace tarnwell {
namespace {

constexpr HRESULT kBufferTooSmall = static_cast<HRESULT>(0x8007007A);

CUTF16String TextOf(const Lang& lang, const char* key) {
    return Utf16FromUtf8(lang[key]);
}

/// Inserts rows below each other. A row that cannot be inserted leaves no gap.
class CMenuFiller {
public:
    CMenuFiller(HMENU menu, UINT index) noexcept : m_menu(menu), m_index(index) {}

    void AddSeparator() noexcept {
        MENUITEMINFOW item = NewItem(MIIM_FTYPE);
        item.fType = MFT_SEPARATOR;
        Insert(item);
    }

    void AddCommand(UINT id, const CUTF16String& text) noexcept {
        AddItem(NewItem(MIIM_ID | MIIM_STRING), id, text);
    }

    /// AddPictured shows the command without a picture where `bitmap` is null.
    void AddPictured(UINT id, const CUTF16String& text, HBITMAP bitmap) noexcept {
        MENUITEMINFOW item = NewItem(MIIM_ID | MIIM_STRING | MIIM_BITMAP);
        item.hbmpChecked = bitmap;
        item.hbmpUnchecked = bitmap;
        item.hbmpItem = bitmap;
        AddItem(item, id, text);
    }

    /// HasCommands tells whether any command made it into the menu.
    bool HasCommands() const noexcept { return m_hasCommands; }

private:
    static MENUITEMINFOW NewItem(UINT fields) noexcept {
        MENUITEMINFOW item = {};
        item.cbSize = sizeof item;
        item.fMask = fields;
        return item;
    }

    void AddItem(MENUITEMINFOW item, UINT id, const CUTF16String& text) noexcept {
        item.wID = id;
        item.dwTypeData = const_cast<wchar_t*>(Wide(text));  // only read
        m_hasCommands |= Insert(item);
    }

    bool Insert(const MENUITEMINFOW& item) noexcept {
        const bool isIn = InsertMenuItemW(m_menu, m_index, TRUE, &item);
        if (isIn)
            ++m_index;
        return isIn;
    }

    HMENU m_menu;
    UINT m_index;
    bool m_hasCommands = false;
};

void AddProtectRows(CMenuFiller& filler, const Lang& lang, UINT firstId) {
    TraceString("adding sign and encrypte menu");
    for (const MenuCommand* command : MenuRows(EMenuMode::kProtect)) {
        if (command)
            filler.AddPictured(firstId + command->offset, TextOf(lang, command->textKey),
                               MenuBitmap(command->icon));
        else
            filler.AddSeparator();
    }
}

void TraceUnreadable(CPKCS7_ERROR error) {
    TraceString("Impossible to get file type: %s", ErrorNames(error).CStr());
}

/// RecoverKeyOf is the key of the recover row for the file at `path`, null when its type cannot
/// be told: that row is then left out.
const char* RecoverKeyOf(const CUTF16String& path) {
    try {
        CPKCS7Request file(path);
        return RecoverKey(file->IsOnlyEnveloped());
    } catch (CPKCS7_ERROR error) {
        TraceUnreadable(error);
        return nullptr;
    }
}

void AddOpenRows(CMenuFiller& filler, const Lang& lang, UINT firstId, const CUTF16String& path) {
    TraceString("adding recover menu");
    for (const MenuCommand* command : MenuRows(EMenuMode::kOpen)) {
        if (!command) {
            filler.AddSeparator();
            continue;
        }
        const char* key = command->action == kActionRecover ? RecoverKeyOf(path) : command->textKey;
        if (key)
            filler.AddCommand(firstId + command->offset, TextOf(lang, key));
    }
}

/// IsVerbText tells whether a command is named by text, which only its own menu could know. With
/// the Unicode form of the structure either name may be the one that is set.
bool IsVerbText(const CMINVOKECOMMANDINFO& info) noexcept {
    if (!IS_INTRESOURCE(info.lpVerb))
        return true;
    if (info.cbSize < sizeof(CMINVOKECOMMANDINFOEX) || !(info.fMask & CMIC_MASK_UNICODE))
        return false;
    return !IS_INTRESOURCE(reinterpret_cast<const CMINVOKECOMMANDINFOEX&>(info).lpVerbW);
}

/// FirstOf is the file that opening is about; "" when nothing is selected, which opens as a file
/// that does not exist.
CUTF16String FirstOf(const std::vector<CUTF16String>& files) {
    return files.empty() ? CUTF16String() : files.front();
}

/// CopyVerb writes as much of `verb` as fits and a zero. `size` counts characters, at least 1.
template <class Unit>
HRESULT CopyVerb(std::string_view verb, char* buffer, std::size_t size) {
    const std::size_t length = std::min(verb.size(), size - 1);
    std::basic_string<Unit> units(verb.begin(), verb.begin() + static_cast<std::ptrdiff_t>(length));
    // The buffer is declared for 8-bit text, so it need not be aligned for wide units.
    std::memcpy(buffer, units.c_str(), (length + 1) * sizeof(Unit));
    return length < verb.size() ? kBufferTooSmall : S_OK;
}

}  // namespace

HRESULT CContextMenu::Initialize(LPCITEMIDLIST, IDataObject* dataObject, HKEY) noexcept {
    return Guard("CContextMenu::Initialize", [&] { return Gather(dataObject); });
}

HRESULT CContextMenu::QueryContextMenu(HMENU menu, UINT index, UINT firstId, UINT lastId,
                                       UINT flags) noexcept {
    return Guard("CContextMenu::QueryContextMenu",
                 [&] { return Fill(menu, index, firstId, lastId, flags); });
}

HRESULT CContextMenu::InvokeCommand(LPCMINVOKECOMMANDINFO info) noexcept {
    return Guard("CContextMenu::InvokeCommand",
                 [&] { return info ? CarryOut(*info) : E_INVALIDARG; });
}

HRESULT CContextMenu::GetCommandString(UINT_PTR offset, UINT type, UINT*, LPSTR buffer,
                                       UINT size) noexcept {
    return GuardUntraced([&]() -> HRESULT {
        constexpr UINT kMaxSize = std::numeric_limits<std::int32_t>::max();
        const std::optional<std::string_view> verb = VerbAt(m_mode, offset);
        if (!verb || !buffer || size == 0 || size > kMaxSize)
            return E_INVALIDARG;
        if (type == GCS_VERBA)
            return CopyVerb<char>(*verb, buffer, size);
        if (type == GCS_VERBW)
            return CopyVerb<char16_t>(*verb, buffer, size);
        return E_INVALIDARG;
    });
}

HRESULT CContextMenu::Gather(IDataObject* dataObject) {
    m_files = std::make_shared<const CFileList>();
    std::optional<CFileList> files = ReadSelection(dataObject);
    if (!files)
        return E_INVALIDARG;
    m_files = std::make_shared<const CFileList>(*std::move(files));
    return S_OK;
}

HRESULT CContextMenu::Fill(HMENU menu, UINT index, UINT firstId, UINT lastId, UINT flags) {
    if (m_files->size() == 1)
        m_mode = IsContainerName(m_files->front()) ? EMenuMode::kOpen : EMenuMode::kProtect;
    Lang lang;
    if (!m_services.LoadCatalogue(lang))
        return E_FAIL;

    // A menu that may have no default item gets the protecting commands even for a container, and
    // m_mode keeps what the file is: a command of such a menu is carried out as one of open mode.
    const EMenuMode shown = flags & CMF_NODEFAULT ? EMenuMode::kProtect : m_mode;
    if (shown == EMenuMode::kProtect && (flags & CMF_DEFAULTONLY))
        return E_FAIL;
    if (!MenuFits(shown, firstId, lastId))
        return S_OK;

    CMenuFiller filler(menu, index);
    if (shown == EMenuMode::kProtect) {
        AddProtectRows(filler, lang, firstId);
    } else {
        AddOpenRows(filler, lang, firstId, FirstOf(*m_files));
        SetMenuDefaultItem(menu, firstId, FALSE);
    }
    return filler.HasCommands() ? MAKE_HRESULT(SEVERITY_SUCCESS, 0, kMenuOffsets) : E_FAIL;
}

HRESULT CContextMenu::CarryOut(const CMINVOKECOMMANDINFO& info) {
    if (IsVerbText(info))
        return E_INVALIDARG;
    const MenuCommand* command = FindCommand(m_mode, LOWORD(info.lpVerb));
    if (!command)
        return E_INVALIDARG;

    TraceString(command->traceLine);
    const std::shared_ptr<const CFileList> files = m_files;
    const ResultCode result =
        command->action == kActionOpen ? Open(*files) : m_services.Send(command->action, *files);
    if (result == kResultDone)
        return S_OK;
    if (const std::optional<FailureKeys> keys = FindFailureKeys(result))
        ShowFailure(*keys, info.hwnd);
    return E_FAIL;
}

ResultCode CContextMenu::Open(const CFileList& files) {
    ActionCode action = kActionRecover;
    try {
        CPKCS7Request file(FirstOf(files));
        if (file->IsOnlySigned())
            action = kActionOpen;
    } catch (CPKCS7_ERROR error) {
        TraceUnreadable(error);
        return kResultFailed;
    }
    return m_services.Send(action, files);
}

void CContextMenu::ShowFailure(const FailureKeys& keys, HWND owner) {
    Lang lang;
    if (m_services.LoadCatalogue(lang))
        m_services.ShowMessage(owner, TextOf(lang, keys.title), TextOf(lang, keys.text));
}

}  // namespace tarnwell
