#include "context_menu_fixture.h"

#include <miniz.h>

#include <cstring>
#include <fstream>
#include <iterator>

#include "tarnwell/win32/interface_id.h"

namespace tarnwell::test {
namespace {

constexpr char kCatalogue[] = R"(var texts = {
    "tarnwellDLL": {
        "sign": "Sign \u00e9", "encrypt": "Encrypt", "signencrypt": "Sign and encrypt",
        "recover": "Recover", "recover_veryfy": "Recover and verify",
        "general_error_title": "General title", "general_error_message": "General text",
        "open_file_error_message": "Open text",
        "recover_error_title": "Recover title", "recover_error_message": "Recover text"
    },
    "menu": { "open": "Open" }
})";

std::string Header(bool wide) {
    std::string header(20, '\0');
    header[0] = 20;
    header[16] = wide ? 1 : 0;
    return header;
}

/// One DER element (X.690, 8.1) whose content is shorter than 128 bytes.
std::string Tlv(unsigned char tag, const std::string& body) {
    return std::string{static_cast<char>(tag), static_cast<char>(body.size())} + body;
}

/// A PKCS#7 type (RFC 2315, section 14): 1.2.840.113549.1.7 and `last`.
std::string TypeId(char last) {
    return Tlv(0x06, std::string("\x2a\x86\x48\x86\xf7\x0d\x01\x07", 8) + last);
}

std::string ContentInfo(char type, const std::string& content) {
    return Tlv(0x30, TypeId(type) + Tlv(0xA0, Tlv(0x30, content)));
}

const std::string kEmptySet = Tlv(0x31, "");
std::string Version(char number) {
    return Tlv(0x02, std::string(1, number));
}

std::string EncryptedContent() {
    const std::string algorithm = Tlv(0x06, "\x2a\x86\x48\x86\xf7\x0d\x03\x07");  // des-ede3-cbc
    return Tlv(0x30, TypeId(1) + Tlv(0x30, algorithm + Tlv(0x05, "")) + Tlv(0x80, "12345678"));
}

}  // namespace

std::string SignedFile() {
    return ContentInfo(2, Version(1) + kEmptySet + Tlv(0x30, TypeId(1)) + kEmptySet);
}
std::string EnvelopedFile() {
    return ContentInfo(3, Version(0) + kEmptySet + EncryptedContent());
}
std::string SignedAndEnvelopedFile() {
    return ContentInfo(4, Version(1) + kEmptySet + kEmptySet + EncryptedContent() + kEmptySet);
}

std::string DropBlock(const std::vector<std::wstring>& files) {
    std::string block = Header(true);
    for (const std::wstring& file : files)
        block.append(reinterpret_cast<const char*>(file.c_str()), 2 * (file.size() + 1));
    return block + std::string(2, '\0');
}

std::string NarrowDropBlock(const std::vector<std::string>& files) {
    std::string block = Header(false);
    for (const std::string& file : files)
        block.append(file.c_str(), file.size() + 1);
    return block + '\0';
}

CFakeDataObject::~CFakeDataObject() {
    for (const HGLOBAL loan : m_loans)
        GlobalFree(loan);
}

bool CFakeDataObject::IsReturned() const {
    for (const HGLOBAL loan : m_loans) {
        if ((GlobalFlags(loan) & GMEM_LOCKCOUNT) != 0)
            return false;
    }
    return m_references == 1;
}

STDMETHODIMP CFakeDataObject::QueryInterface(REFIID id, void** object) {
    *object = IsEqualIID(id, kInterfaceId<IUnknown>) ? static_cast<IUnknown*>(this) : nullptr;
    if (*object)
        AddRef();
    return *object ? S_OK : E_NOINTERFACE;
}

STDMETHODIMP CFakeDataObject::GetData(FORMATETC* format, STGMEDIUM* medium) {
    asked = *format;
    if (!m_block)
        return DV_E_FORMATETC;
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, m_block->size());
    std::memcpy(GlobalLock(memory), m_block->data(), m_block->size());
    GlobalUnlock(memory);
    m_loans.push_back(memory);
    AddRef();
    medium->tymed = TYMED_HGLOBAL;
    medium->hGlobal = memory;
    medium->pUnkForRelease = this;
    return S_OK;
}

CRecordingServices::CRecordingServices(const CTempFolder& folder) {
    mz_zip_archive zip = {};
    void* bytes = nullptr;
    std::size_t size = 0;
    if (!mz_zip_writer_init_heap(&zip, 0, 0) ||
        !mz_zip_writer_add_mem(&zip, "scripts/language.en.js", kCatalogue, sizeof kCatalogue - 1,
                               MZ_DEFAULT_COMPRESSION) ||
        !mz_zip_writer_finalize_heap_archive(&zip, &bytes, &size))
        throw std::runtime_error("the catalogue's archive could not be made");
    m_archive =
        Utf16(folder.Write("kestrix.bin", std::string_view(static_cast<const char*>(bytes), size)));
    mz_free(bytes);
    mz_zip_writer_end(&zip);
}

bool CRecordingServices::LoadCatalogue(Lang& lang) {
    lang.UseLanguages(std::u16string_view(u"en\0\0", 4));
    return hasCatalogue && lang.Load(m_archive);
}

ResultCode CRecordingServices::Send(ActionCode action, std::span<const CUTF16String> files) {
    Sent request{action, {}};
    for (const CUTF16String& file : files)
        request.files.emplace_back(file.AsView());
    sent.push_back(std::move(request));
    return result;
}

void CRecordingServices::ShowMessage(HWND owner, const CUTF16String& title,
                                     const CUTF16String& text) {
    boxes.push_back({owner, std::u16string(title.AsView()), std::u16string(text.AsView())});
}

ContextMenuTest::ContextMenuTest() : menu(CreatePopupMenu()) {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    handler.Attach(new CContextMenu(services));
}

ContextMenuTest::~ContextMenuTest() {
    handler.Reset();
    CoUninitialize();
}

HRESULT ContextMenuTest::SelectBlock(std::optional<std::string> block) {
    CFakeDataObject data(std::move(block));
    const HRESULT result = handler->Initialize(nullptr, &data, nullptr);
    EXPECT_TRUE(data.IsReturned());
    return result;
}

HRESULT ContextMenuTest::Select(const std::vector<std::wstring>& files) {
    return SelectBlock(DropBlock(files));
}

HRESULT ContextMenuTest::Query(UINT flags, UINT index, UINT first, UINT last) {
    return handler->QueryContextMenu(menu.Get(), index, first, last, flags);
}

HRESULT ContextMenuTest::Invoke(UINT offset) {
    CMINVOKECOMMANDINFO info = {};
    info.cbSize = sizeof info;
    info.hwnd = GetDesktopWindow();
    info.lpVerb = MAKEINTRESOURCEA(offset);
    return handler->InvokeCommand(&info);
}

std::string ContextMenuTest::Drawn() const {
    std::string drawn;
    const UINT defaultId = GetMenuDefaultItem(menu.Get(), FALSE, 0);
    for (int i = 0; i < GetMenuItemCount(menu.Get()); ++i) {
        wchar_t text[100] = {};
        MENUITEMINFOW item = {};
        item.cbSize = sizeof item;
        item.fMask = MIIM_FTYPE | MIIM_ID | MIIM_STRING | MIIM_BITMAP;
        item.dwTypeData = text;
        item.cch = std::size(text);
        if (!GetMenuItemInfoW(menu.Get(), static_cast<UINT>(i), TRUE, &item))
            return "unreadable";
        if (item.fType & MFT_SEPARATOR) {
            drawn += "-\n";
            continue;
        }
        drawn += std::to_string(item.wID) + " ";
        for (const wchar_t unit : std::wstring(text))
            drawn += unit < 0x80 ? static_cast<char>(unit) : '?';
        drawn += item.hbmpItem ? "*" : "";
        drawn += item.wID == defaultId ? "!\n" : "\n";
    }
    return drawn;
}

std::wstring ContextMenuTest::Path(const std::string& name, const std::string& bytes) const {
    return folder.Write(name, bytes).wstring();
}

}  // namespace tarnwell::test
