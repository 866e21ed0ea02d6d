#pragma once

// What the tests of the context menu share: a data object whose drop list the test writes byte by
// byte, the handler's outside that records what it is asked, and PKCS#7 files.

#include <cstring>
#include <functional>
#include <optional>
#include <utility>

#include "common/system/os/owners_win32.h"
#include "extension_fixture.h"
#include "tarnwell/win32/context_menu.h"
#include "tarnwell/win32/menu_bitmap.h"
// Windows last.
#include <shellapi.h>
#include <shlobj.h>

namespace tarnwell::test {

/// The code of a menu that was filled.
inline constexpr HRESULT kFilled = 3;

using Paths = std::vector<CUTF16String>;

/// DropBlock gives a drop list whose header is followed by `names`, bytes as they stand.
inline std::string DropBlock(bool wide, std::string_view names) {
    std::string block(20, '\0');
    block[0] = 20;
    block[16] = wide ? 1 : 0;
    return block.append(names);
}
inline std::string DropBlock(const std::vector<std::wstring>& files) {
    std::wstring names;
    for (const std::wstring& file : files)
        names.append(file).push_back(L'\0');
    return DropBlock(true, {reinterpret_cast<const char*>(names.c_str()), 2 * names.size() + 2});
}

/// Hands over a copy of its block as CF_HDROP, once, and knows whether it got it back unlocked.
/// On the stack of a test: counted only because the medium holds a reference while it is on loan.
class CFakeDataObject final : public IDataObject {
public:
    /// No block: there is no such data.
    explicit CFakeDataObject(std::optional<std::string> block) : m_block(std::move(block)) {}
    ~CFakeDataObject() { GlobalFree(m_loan); }

    bool IsReturned() const {
        return m_references == 1 && (!m_loan || !(GlobalFlags(m_loan) & GMEM_LOCKCOUNT));
    }

    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override { return --m_references; }

    STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) override {
        if (!m_block || format->cfFormat != CF_HDROP || format->dwAspect != DVASPECT_CONTENT ||
            format->lindex != -1 || format->tymed != TYMED_HGLOBAL)
            return DV_E_FORMATETC;
        m_loan = GlobalAlloc(GMEM_MOVEABLE, m_block->size());
        std::memcpy(GlobalLock(m_loan), m_block->data(), m_block->size());
        GlobalUnlock(m_loan);
        medium->tymed = TYMED_HGLOBAL;
        medium->hGlobal = m_loan;
        medium->pUnkForRelease = this;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
    STDMETHODIMP QueryGetData(FORMATETC*) override { return E_NOTIMPL; }
    STDMETHODIMP GetCanonicalFormatEtc(FORMATETC*, FORMATETC*) override { return E_NOTIMPL; }
    STDMETHODIMP SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP EnumFormatEtc(DWORD, IEnumFORMATETC**) override { return E_NOTIMPL; }
    STDMETHODIMP DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP DUnadvise(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP EnumDAdvise(IEnumSTATDATA**) override { return E_NOTIMPL; }

private:
    std::optional<std::string> m_block;
    HGLOBAL m_loan = nullptr;
    ULONG m_references = 1;
};

/// The outside of the handler: the French texts of the development manager, whose archive the build
/// puts beside the test programs, and a record of what is asked.
class CRecordingServices : public CMenuServices {
public:
    bool hasCatalogue = true;
    ResultCode result = kResultDone;
    std::vector<std::pair<ActionCode, Paths>> sent;
    Paths boxes;  ///< title, text, title, …
    HWND owner = nullptr;
    std::function<void(std::span<const CUTF16String>)> during;  ///< called while sending

    bool LoadCatalogue(Lang& lang) override {
        lang.UseLanguages(u"fr");
        return hasCatalogue && lang.Load(u"resources\\kestrix.bin");
    }
    ResultCode Send(ActionCode action, std::span<const CUTF16String> files) override {
        if (during)
            during(files);
        sent.emplace_back(action, Paths(files.begin(), files.end()));
        return result;
    }
    void ShowMessage(HWND over, const CUTF16String& title, const CUTF16String& text) override {
        owner = over;
        boxes.insert(boxes.end(), {title, text});
    }
};

class ContextMenuTest : public testing::Test {
protected:
    ContextMenuTest() { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    ~ContextMenuTest() override { CoUninitialize(); }

    HRESULT SelectBlock(std::optional<std::string> block) {
        CFakeDataObject data(std::move(block));
        const HRESULT answer = handler->Initialize(nullptr, &data, nullptr);
        EXPECT_TRUE(data.IsReturned());
        return answer;
    }
    HRESULT Select(const std::vector<std::wstring>& files) { return SelectBlock(DropBlock(files)); }

    /// Query fills a new menu.
    HRESULT Query(UINT flags = CMF_NORMAL, UINT first = 100, UINT last = 0x7FFF) {
        menu.Reset(CreatePopupMenu());
        return handler->QueryContextMenu(menu.Get(), 0, first, last, flags);
    }
    HRESULT Invoke(UINT offset) {
        CMINVOKECOMMANDINFO info = {};
        info.cbSize = sizeof info;
        info.hwnd = GetDesktopWindow();
        info.lpVerb = MAKEINTRESOURCEA(offset);
        return handler->InvokeCommand(&info);
    }

    /// Drawn gives a line an item: "-" or id, text, picture and "!" for the default item.
    std::string Drawn() const {
        std::string drawn;
        for (int i = 0; i < GetMenuItemCount(menu.Get()); ++i) {
            wchar_t label[100] = {};
            MENUITEMINFOW item = {};
            item.cbSize = sizeof item;
            item.fMask = MIIM_FTYPE | MIIM_ID | MIIM_STRING | MIIM_BITMAP;
            item.dwTypeData = label;
            item.cch = 100;
            EXPECT_TRUE(GetMenuItemInfoW(menu.Get(), static_cast<UINT>(i), TRUE, &item));
            if (item.fType & MFT_SEPARATOR) {
                drawn += "-\n";
                continue;
            }
            const bool isDefault = item.wID == GetMenuDefaultItem(menu.Get(), FALSE, 0);
            drawn += std::to_string(item.wID) + " " + Utf8FromUtf16(Utf16(label)).CStr();
            for (std::uint16_t icon = 205; item.hbmpItem && icon <= 207; ++icon)
                drawn += item.hbmpItem == MenuBitmap(icon) ? " " + std::to_string(icon) : "";
            drawn += isDefault ? "!\n" : "\n";
        }
        return drawn;
    }

    /// Container makes a file with the bytes of one of the corpus.
    std::wstring Container(const char* name, const std::string& original) const {
        return folder.Write(name, SampleBytes(original)).wstring();
    }

    /// Box is the title and the text of a message, by their keys in the catalogue.
    Paths Box(const std::string& title, const std::string& text) {
        Lang lang;
        services.LoadCatalogue(lang);
        return {Utf16FromUtf8(lang["tarnwellDLL." + title]),
                Utf16FromUtf8(lang["tarnwellDLL." + text])};
    }

    CTempFolder folder;
    CRecordingServices services;
    ComPtr<CContextMenu> handler = MakeObject<CContextMenu>(services);
    CUniqueMenu menu;
    CTraceListener trace;
    const std::wstring text = L"C:\\a, b.txt";
    const std::wstring isSigned = Container("signed.p7", "hand-no-signers.p7");
    const std::wstring isEncrypted = Container("encrypted.P7", "hand-env-norecip.p7m");
    const std::wstring isBoth = Container("both, \xc3\xa9.p7", "capi-sae-1x1.p7m");
    const std::wstring isBroken = folder.Write("broken.p7", "no container").wstring();
};

}  // namespace tarnwell::test
