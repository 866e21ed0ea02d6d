#pragma once

// What the tests of the context menu share: a data object whose drop list the test writes byte by
// byte, the handler's outside that records what it is asked, a catalogue and PKCS#7 files.

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/system/os/owners_win32.h"
#include "support/temp_folder.h"
#include "support/trace_listener.h"
#include "tarnwell/win32/context_menu.h"
// Windows last.
#include <shellapi.h>
#include <shlobj.h>
#include <wrl/client.h>

namespace tarnwell::test {

/// The bytes of a drop list, as tests spell them.
std::string DropBlock(const std::vector<std::wstring>& files);
std::string NarrowDropBlock(const std::vector<std::string>& files);

/// Hands over a copy of `block` as CF_HDROP and knows whether it got it back unlocked.
class CFakeDataObject final : public IDataObject {
public:
    /// No block: there is no such data.
    explicit CFakeDataObject(std::optional<std::string> block) : m_block(std::move(block)) {}
    ~CFakeDataObject();

    /// IsReturned tells that nothing is on loan, or all of it came back, unlocked.
    bool IsReturned() const;
    FORMATETC asked = {};

    // On the stack of a test: counted only because media hold a reference while they are on loan.
    STDMETHODIMP QueryInterface(REFIID id, void** object) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
    STDMETHODIMP_(ULONG) Release() override { return --m_references; }

    STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) override;
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
    std::vector<HGLOBAL> m_loans;
    ULONG m_references = 1;
};

/// The outside of the handler: a catalogue of its own, and a record of what is asked.
class CRecordingServices final : public CMenuServices {
public:
    /// Writes the catalogue's archive into `folder`.
    explicit CRecordingServices(const CTempFolder& folder);

    bool hasCatalogue = true;
    ResultCode result = kResultDone;

    struct Sent {
        ActionCode action;
        std::vector<std::u16string> files;
        bool operator==(const Sent&) const = default;
    };
    std::vector<Sent> sent;
    struct Box {
        HWND owner;
        std::u16string title;
        std::u16string text;
        bool operator==(const Box&) const = default;
    };
    std::vector<Box> boxes;

    bool LoadCatalogue(Lang& lang) override;
    ResultCode Send(ActionCode action, std::span<const CUTF16String> files) override;
    void ShowMessage(HWND owner, const CUTF16String& title, const CUTF16String& text) override;

private:
    CUTF16String m_archive;
};

// The smallest files of each kind that parse: no signer, no recipient, no content.
std::string SignedFile();
std::string EnvelopedFile();
std::string SignedAndEnvelopedFile();

class ContextMenuTest : public testing::Test {
protected:
    ContextMenuTest();
    ~ContextMenuTest() override;

    HRESULT Select(const std::vector<std::wstring>& files);
    HRESULT SelectBlock(std::optional<std::string> block);
    HRESULT Query(UINT flags = CMF_NORMAL, UINT index = 0, UINT first = 100, UINT last = 0x7FFF);
    HRESULT Invoke(UINT offset);

    /// Drawn gives a line an item: "-" or id, text, "*" for a picture, "!" for the default item.
    std::string Drawn() const;

    /// Path writes a file into the test's folder and gives its path.
    std::wstring Path(const std::string& name, const std::string& bytes = "content") const;

    CTempFolder folder;
    CRecordingServices services{folder};
    Microsoft::WRL::ComPtr<CContextMenu> handler;
    CUniqueMenu menu;
    CTraceListener trace;
};

/// The code of a menu that was filled.
inline constexpr HRESULT kFilled = 3;

}  // namespace tarnwell::test
