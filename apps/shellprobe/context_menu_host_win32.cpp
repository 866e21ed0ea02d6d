#include "shellprobe/context_menu_host.h"

#include <algorithm>

#include "shellprobe/handler.h"
#include "shellprobe/output.h"
#include "shellprobe/shell_ids.h"
// Windows last.
#include <shellapi.h>

namespace tarnwell::shellprobe {
namespace {

using Microsoft::WRL::ComPtr;

constexpr wchar_t kHandlerKey[] = L"*\\shellex\\ContextMenuHandlers\\Tarnwell Extension";

/// The text of the item at `position`, of any length.
std::wstring TextAt(HMENU menu, UINT position) {
    MENUITEMINFOW item = {};
    item.cbSize = sizeof item;
    item.fMask = MIIM_STRING;
    if (!GetMenuItemInfoW(menu, position, TRUE, &item) || item.cch == 0)
        return {};
    std::wstring text(item.cch + 1, L'\0');
    item.dwTypeData = text.data();
    item.cch = static_cast<UINT>(text.size());
    if (!GetMenuItemInfoW(menu, position, TRUE, &item))
        return {};
    text.resize(item.cch);
    return text;
}

std::optional<SIZE> SizeOf(HBITMAP bitmap) {
    BITMAP info = {};
    if (!bitmap || GetObjectW(bitmap, sizeof info, &info) == 0)
        return std::nullopt;
    return SIZE{info.bmWidth, info.bmHeight < 0 ? -info.bmHeight : info.bmHeight};
}

}  // namespace

CContextMenuHost::CContextMenuHost() {
    const std::optional<CLSID> classId = RegisteredClass(kHandlerKey);
    if (!classId)
        throw ENoHandler(
            "no context-menu handler is registered. Register the DLL first: regsvr32 Tarnwell.dll");
    CreateHandler(*classId, kContextMenuId, reinterpret_cast<void**>(m_handler.GetAddressOf()));
}

HRESULT CContextMenuHost::Initialize(IDataObject* selection) {
    ComPtr<IShellExtInit> init;
    const HRESULT result =
        m_handler->QueryInterface(kShellExtInitId, reinterpret_cast<void**>(init.GetAddressOf()));
    return FAILED(result) ? result : init->Initialize(nullptr, selection, nullptr);
}

HRESULT CContextMenuHost::Query(UINT firstId, UINT lastId, UINT flags) {
    m_firstId = firstId;
    m_menu.Reset(CreatePopupMenu());
    return m_handler->QueryContextMenu(m_menu.Get(), 0, firstId, lastId, flags);
}

void CContextMenuHost::Fill(IDataObject* selection, UINT firstId, UINT lastId, UINT flags) {
    HRESULT result = Initialize(selection);
    if (FAILED(result))
        throw ENoHandler("the handler refuses the selection: " + Hex(result));
    result = Query(firstId, lastId, flags);
    if (FAILED(result))
        throw ENoHandler("the handler makes no menu: " + Hex(result));
}

std::vector<MenuItem> CContextMenuHost::Items() const {
    const int count = std::max(GetMenuItemCount(m_menu.Get()), 0);
    std::vector<MenuItem> items;
    items.reserve(static_cast<std::size_t>(count));
    for (int position = 0; position < count; ++position)
        items.push_back(ItemAt(static_cast<UINT>(position)));
    return items;
}

MenuItem CContextMenuHost::ItemAt(UINT position) const {
    MENUITEMINFOW info = {};
    info.cbSize = sizeof info;
    info.fMask = MIIM_FTYPE | MIIM_ID | MIIM_STATE | MIIM_BITMAP;
    GetMenuItemInfoW(m_menu.Get(), position, TRUE, &info);
    MenuItem item;
    item.isSeparator = info.fType & MFT_SEPARATOR;
    if (item.isSeparator)
        return item;
    item.id = info.wID;
    item.text = TextAt(m_menu.Get(), position);
    item.verb = VerbOf(info.wID - m_firstId);
    item.isDefault = info.fState & MFS_DEFAULT;
    item.bitmap = SizeOf(info.hbmpItem);
    return item;
}

std::optional<std::wstring> CContextMenuHost::VerbOf(UINT offset) const {
    wchar_t verb[256] = {};
    if (FAILED(m_handler->GetCommandString(offset, GCS_VERBW, nullptr,
                                           reinterpret_cast<char*>(verb), 256)))
        return std::nullopt;
    return verb;
}

HRESULT CContextMenuHost::Invoke(UINT offset, HWND owner) {
    CMINVOKECOMMANDINFOEX info = {};
    info.cbSize = sizeof info;
    info.fMask = CMIC_MASK_UNICODE;
    info.hwnd = owner;
    info.lpVerb = MAKEINTRESOURCEA(offset);
    info.lpVerbW = MAKEINTRESOURCEW(offset);
    info.nShow = SW_SHOWNORMAL;
    return m_handler->InvokeCommand(reinterpret_cast<CMINVOKECOMMANDINFO*>(&info));
}

std::optional<UINT> CContextMenuHost::Track(POINT at, HWND owner) {
    // A menu closes on a click beside it only while its owner is in the foreground.
    SetForegroundWindow(owner);
    const BOOL id = TrackPopupMenu(m_menu.Get(), TPM_RETURNCMD | TPM_RIGHTBUTTON, at.x, at.y, 0,
                                   owner, nullptr);
    if (id == 0)
        return std::nullopt;
    return static_cast<UINT>(id) - m_firstId;
}

}  // namespace tarnwell::shellprobe
