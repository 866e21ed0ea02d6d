#include "shellprobe/view/file_list.h"

#include <algorithm>
#include <array>

#include "shellprobe/view/screen_points.h"

// Windows last.
#include <shellapi.h>

namespace tarnwell::shellprobe {
namespace {

struct Column {
    const wchar_t* title;
    int format;
};
constexpr std::array kColumns = {Column{L"Name", LVCFMT_LEFT}, Column{L"Size", LVCFMT_RIGHT},
                                 Column{L"Type", LVCFMT_LEFT}, Column{L"Modified", LVCFMT_LEFT}};

// Wide enough for a name like "report.pdf.p7m" on one line.
constexpr int kIconSpacingX = 116;
constexpr int kIconSpacingY = 96;

std::wstring TypeName(const std::wstring& name) {
    SHFILEINFOW info = {};
    SHGetFileInfoW(name.c_str(), FILE_ATTRIBUTE_NORMAL, &info, sizeof info,
                   SHGFI_TYPENAME | SHGFI_USEFILEATTRIBUTES);
    return info.szTypeName;
}

DWORD StyleOf(EViewMode mode) {
    switch (mode) {
        case EViewMode::kSmall:
            return LVS_SMALLICON;
        case EViewMode::kDetails:
            return LVS_REPORT;
        default:
            return LVS_ICON;
    }
}

HWND MakeControl(HWND parent, int id, HFONT font) {
    constexpr DWORD kStyle = WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | WS_TABSTOP |
                             LVS_SHAREIMAGELISTS | LVS_SHOWSELALWAYS | LVS_AUTOARRANGE;
    const HWND window =
        CreateWindowExW(0, WC_LISTVIEWW, L"", kStyle, 0, 0, 0, 0, parent,
                        reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr, nullptr);
    SendMessageW(window, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    ListView_SetExtendedListViewStyle(window, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
    for (std::size_t i = 0; i < kColumns.size(); ++i) {
        LVCOLUMNW column = {};
        column.mask = LVCF_TEXT | LVCF_FMT;
        column.fmt = kColumns[i].format;
        column.pszText = const_cast<wchar_t*>(kColumns[i].title);
        SendMessageW(window, LVM_INSERTCOLUMNW, i, reinterpret_cast<LPARAM>(&column));
    }
    return window;
}

}  // namespace

CFileList::CFileList(HWND parent, int id, HFONT font)
    : m_window(MakeControl(parent, id, font)), m_generic(m_shelf.Put(GenericIcons())) {
    ListView_SetImageList(m_window, m_shelf.Large(), LVSIL_NORMAL);
    ListView_SetImageList(m_window, m_shelf.Small(), LVSIL_SMALL);
    ListView_SetIconSpacing(m_window, kIconSpacingX, kIconSpacingY);
}

void CFileList::SetMode(EViewMode mode) {
    const LONG_PTR style = GetWindowLongPtrW(m_window, GWL_STYLE);
    SetWindowLongPtrW(m_window, GWL_STYLE,
                      (style & ~LONG_PTR{LVS_TYPEMASK}) | static_cast<LONG_PTR>(StyleOf(mode)));
    FitColumns();
    ListView_Arrange(m_window, LVA_DEFAULT);
    InvalidateRect(m_window, nullptr, TRUE);
}

bool CFileList::Show(const std::vector<FolderFile>& files) {
    if (std::ranges::equal(m_rows, files, {}, &Row::file))
        return false;
    SendMessageW(m_window, WM_SETREDRAW, FALSE, 0);
    std::size_t at = 0;
    for (const FolderFile& file : files) {
        while (at < m_rows.size() && ComesBefore(m_rows[at].file.name, file.name))
            Remove(at);
        if (at < m_rows.size() && m_rows[at].file.name == file.name)
            Update(at, file);
        else
            Insert(at, file);
        ++at;
    }
    while (at < m_rows.size())
        Remove(at);
    FitColumns();
    SendMessageW(m_window, WM_SETREDRAW, TRUE, 0);
    ListView_Arrange(m_window, LVA_DEFAULT);
    InvalidateRect(m_window, nullptr, TRUE);
    return true;
}

void CFileList::Insert(std::size_t at, const FolderFile& file) {
    Row row;
    row.file = file;
    row.version = ++m_lastVersion;
    m_rows.insert(m_rows.begin() + static_cast<std::ptrdiff_t>(at), std::move(row));
    LVITEMW item = {};
    item.mask = LVIF_TEXT | LVIF_IMAGE;
    item.iItem = static_cast<int>(at);
    item.pszText = const_cast<wchar_t*>(file.name.c_str());
    item.iImage = I_IMAGECALLBACK;
    SendMessageW(m_window, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    SetTexts(at);
}

void CFileList::Update(std::size_t at, const FolderFile& file) {
    Row& row = m_rows[at];
    if (row.file == file)
        return;
    row.file = file;
    row.version = ++m_lastVersion;
    row.isWanted = row.isAsked = false;
    SetTexts(at);
}

void CFileList::Remove(std::size_t at) {
    m_shelf.Free(m_rows[at].place);
    m_rows.erase(m_rows.begin() + static_cast<std::ptrdiff_t>(at));
    ListView_DeleteItem(m_window, static_cast<int>(at));
}

void CFileList::SetTexts(std::size_t at) {
    const FolderFile& file = m_rows[at].file;
    const std::array texts = {SizeText(file.size), TypeName(file.name), TimeText(file.modified)};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        LVITEMW item = {};
        item.iSubItem = static_cast<int>(i) + 1;
        item.pszText = const_cast<wchar_t*>(texts[i].c_str());
        SendMessageW(m_window, LVM_SETITEMTEXTW, at, reinterpret_cast<LPARAM>(&item));
    }
}

void CFileList::FitColumns() {
    constexpr int kHeaderMargins = 24;
    for (int i = 0; i < static_cast<int>(kColumns.size()); ++i) {
        const wchar_t* const title = kColumns[static_cast<std::size_t>(i)].title;
        // Never narrower than the user made it.
        const int least = std::max(ListView_GetColumnWidth(m_window, i),
                                   static_cast<int>(SendMessageW(m_window, LVM_GETSTRINGWIDTHW, 0,
                                                                 reinterpret_cast<LPARAM>(title))) +
                                       kHeaderMargins);
        ListView_SetColumnWidth(m_window, i, LVSCW_AUTOSIZE);
        if (ListView_GetColumnWidth(m_window, i) < least)
            ListView_SetColumnWidth(m_window, i, least);
    }
}

void CFileList::AskAllAgain() {
    for (Row& row : m_rows) {
        row.version = ++m_lastVersion;
        row.isWanted = row.isAsked = false;
    }
    InvalidateRect(m_window, nullptr, FALSE);
}

int CFileList::ImageOf(int row) {
    const auto at = static_cast<std::size_t>(row);
    if (at >= m_rows.size())
        return m_generic;
    m_rows[at].isWanted = true;
    return m_rows[at].place < 0 ? m_generic : m_rows[at].place;
}

std::optional<WantedIcon> CFileList::NextWanted() {
    const auto found =
        std::ranges::find_if(m_rows, [](const Row& row) { return row.isWanted && !row.isAsked; });
    if (found == m_rows.end())
        return std::nullopt;
    found->isAsked = true;
    return WantedIcon{found->file.name, found->version};
}

bool CFileList::SetIcons(const WantedIcon& wanted, const FileIcons& icons) {
    const auto row = std::ranges::find(m_rows, wanted.version, &Row::version);
    if (row == m_rows.end() || !icons)
        return false;
    m_shelf.Free(row->place);
    row->place = m_shelf.Put(icons);
    const int at = static_cast<int>(row - m_rows.begin());
    ListView_RedrawItems(m_window, at, at);
    return true;
}

std::wstring CFileList::Name(int row) const {
    const auto at = static_cast<std::size_t>(row);
    return at < m_rows.size() ? m_rows[at].file.name : std::wstring();
}

std::vector<std::wstring> CFileList::Names() const {
    std::vector<std::wstring> names;
    names.reserve(m_rows.size());
    for (const Row& row : m_rows)
        names.push_back(row.file.name);
    return names;
}

std::vector<std::wstring> CFileList::Selected() const {
    std::vector<std::wstring> names;
    for (int row = -1; (row = ListView_GetNextItem(m_window, row, LVNI_SELECTED)) >= 0;)
        names.push_back(Name(row));
    return names;
}

int CFileList::RowAt(POINT point) const {
    LVHITTESTINFO hit = {};
    hit.pt = point;
    return ListView_HitTest(m_window, &hit);
}

std::vector<POINT> CFileList::IconCentres() const {
    std::vector<POINT> centres;
    for (int row = 0; row < static_cast<int>(m_rows.size()); ++row) {
        RECT icon = {};
        ListView_GetItemRect(m_window, row, &icon, LVIR_ICON);
        POINT centre = Centre(icon);
        ClientToScreen(m_window, &centre);
        centres.push_back(centre);
    }
    return centres;
}

POINT CFileList::MenuPoint() const {
    POINT point = {};
    const int row = ListView_GetNextItem(m_window, -1, LVNI_SELECTED);
    RECT icon = {};
    if (row >= 0 && ListView_GetItemRect(m_window, row, &icon, LVIR_ICON))
        point = Centre(icon);
    ClientToScreen(m_window, &point);
    return point;
}

}  // namespace tarnwell::shellprobe
