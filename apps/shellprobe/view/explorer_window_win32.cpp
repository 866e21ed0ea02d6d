#include "shellprobe/view/explorer_window.h"

#include <stdexcept>
#include <utility>

#include "common/system/os/process_counts.h"
#include "shellprobe/output.h"
#include "shellprobe/view/file_tip.h"
#include "shellprobe/view/selection_commands.h"
#include "shellprobe/view/window_parts.h"
// Windows last.
#include <windowsx.h>

namespace tarnwell::shellprobe {
namespace {

constexpr wchar_t kClassName[] = L"TarnwellExplorerWindow";
constexpr int kWidth = 640;
constexpr int kHeight = 420;
constexpr int kMargin = 8;
constexpr int kListId = 1;

enum EMessage : UINT {
    kFolderMayHaveChanged = WM_APP,
    kIconIsWanted,
    kIconsCame,
    kActivated,
};

}  // namespace

CExplorerWindow::CExplorerWindow(std::wstring folder, EViewMode mode)
    : m_folder(std::move(folder)),
      m_mode(mode),
      m_font(MakeMessageFont()),
      m_icons(SystemIcons(m_folder)) {
    const INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES};
    InitCommonControlsEx(&controls);
    WNDCLASSEXW shape = {};
    shape.cbSize = sizeof shape;
    shape.lpfnWndProc = Receive;
    shape.hInstance = GetModuleHandleW(nullptr);
    shape.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    shape.hbrBackground = GetSysColorBrush(COLOR_WINDOW);
    shape.lpszClassName = kClassName;
    RegisterClassExW(&shape);
    const std::wstring title = m_folder.substr(0, m_folder.size() - 1);
    if (!CreateWindowExW(0, kClassName, title.c_str(), WS_OVERLAPPEDWINDOW, CW_USEDEFAULT,
                         CW_USEDEFAULT, kWidth, kHeight, nullptr, MakeMenuBar(), shape.hInstance,
                         this))
        throw std::runtime_error("no window can be made: is there a display?");
}

void CExplorerWindow::Run() {
    ShowWindow(m_window, SW_SHOWNORMAL);
    UpdateWindow(m_window);
    ShowFolder(false);
    Print(CJsonObject().Add("view", "ready"));
    const CUniqueAccelerators keys = MakeAccelerators();
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (TranslateAcceleratorW(m_window, keys.Get(), &message))
            continue;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    Print(CJsonObject().Add("view", "closed"));
}

LRESULT CALLBACK CExplorerWindow::Receive(HWND window, UINT message, WPARAM word,
                                          LPARAM value) noexcept {
    if (message == WM_NCCREATE) {
        const auto* const creation = reinterpret_cast<const CREATESTRUCTW*>(value);
        auto* const self = static_cast<CExplorerWindow*>(creation->lpCreateParams);
        self->m_window = window;
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
    }
    auto* const self = reinterpret_cast<CExplorerWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return self ? self->Handle(message, word, value) : DefWindowProcW(window, message, word, value);
}

LRESULT CExplorerWindow::Handle(UINT message, WPARAM word, LPARAM value) {
    switch (message) {
        case WM_CREATE:
            Create();
            return 0;
        case WM_DESTROY:
            Destroy();
            return 0;
        case WM_SIZE:
            Arrange();
            return 0;
        case WM_SETFOCUS:
            SetFocus(m_list->Window());
            return 0;
        case WM_COMMAND:
            Command(LOWORD(word));
            return 0;
        case WM_NOTIFY:
            if (const auto answer = Notified(reinterpret_cast<NMHDR*>(value)))
                return *answer;
            break;
        case WM_CONTEXTMENU:
            if (reinterpret_cast<HWND>(word) != m_list->Window())
                break;
            ShowMenu(value == -1 ? m_list->MenuPoint()
                                 : POINT{GET_X_LPARAM(value), GET_Y_LPARAM(value)});
            return 0;
        case WM_INITMENUPOPUP:
            m_untoldMenu = m_isSelectionMenu ? reinterpret_cast<HMENU>(word) : nullptr;
            break;
        case WM_ENTERIDLE:
            if (const HMENU menu = std::exchange(m_untoldMenu, nullptr))
                TellShownMenu(menu);
            break;
        case kFolderMayHaveChanged:
            ShowFolder(false);
            return 0;
        case kIconIsWanted:
            AskNextIcon();
            return 0;
        case kIconsCame:
            FetchIcons();
            return 0;
        case kActivated:
            if (const auto files = SelectedPaths(); !files.empty())
                RunDefaultCommand(m_window, files);
            return 0;
        default:
            break;
    }
    return DefWindowProcW(m_window, message, word, value);
}

std::optional<LRESULT> CExplorerWindow::Notified(NMHDR* notice) {
    if (!m_list || notice->hwndFrom != m_list->Window())
        return std::nullopt;
    switch (notice->code) {
        case LVN_GETDISPINFOW: {
            auto& item = reinterpret_cast<NMLVDISPINFOW*>(notice)->item;
            if ((item.mask & LVIF_IMAGE) == 0)
                return std::nullopt;
            item.iImage = m_list->ImageOf(item.iItem);
            // Not now: the list is painting.
            if (!std::exchange(m_isIconPosted, true))
                PostMessageW(m_window, kIconIsWanted, 0, 0);
            return 0;
        }
        case LVN_ITEMCHANGED:
            ShowStatus();
            return 0;
        case LVN_ITEMACTIVATE:
            PostMessageW(m_window, kActivated, 0, 0);
            return 0;
        default:
            return std::nullopt;
    }
}

void CExplorerWindow::Create() {
    SendMessageW(m_window, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(m_icons.large.Get()));
    SendMessageW(m_window, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(m_icons.small.Get()));
    m_status = CreateWindowExW(0, STATUSCLASSNAMEW, L"", WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP, 0,
                               0, 0, 0, m_window, nullptr, nullptr, nullptr);
    SendMessageW(m_status, WM_SETFONT, reinterpret_cast<WPARAM>(m_font.Get()), FALSE);
    m_list.emplace(m_window, kListId, m_font.Get());
    m_tip.emplace(
        m_list->Window(), m_font.Get(), [this](POINT at) { return m_list->RowAt(at); },
        [this](int row) { return AskTip(m_folder + m_list->Name(row)); });
    m_worker.emplace(m_window, kIconsCame);
    m_watch.emplace(m_folder, m_window, kFolderMayHaveChanged);
    SetMode(m_mode);
}

void CExplorerWindow::Destroy() {
    m_watch.reset();
    m_worker.reset();
    m_tip.reset();
    PostQuitMessage(0);
}

void CExplorerWindow::Arrange() {
    RECT area = {};
    RECT status = {};
    SendMessageW(m_status, WM_SIZE, 0, 0);
    GetClientRect(m_window, &area);
    GetWindowRect(m_status, &status);
    // The rows of details reach the window's edges, free-standing icons keep away from them.
    const int margin = m_mode == EViewMode::kDetails ? 0 : kMargin;
    MoveWindow(m_list->Window(), margin, margin, area.right - margin,
               area.bottom - (status.bottom - status.top) - margin, TRUE);
}

void CExplorerWindow::Command(int id) {
    switch (id) {
        case kLargeCommand:
        case kSmallCommand:
        case kDetailsCommand:
            SetMode(static_cast<EViewMode>(id - kLargeCommand));
            TellListed(*m_list, m_mode);
            break;
        case kSelectAllCommand:
            ListView_SetItemState(m_list->Window(), -1, LVIS_SELECTED, LVIS_SELECTED);
            break;
        case kRefreshCommand: {
            const ProcessCounts counts = CountProcess();
            Print(CJsonObject().Add("gdi", counts.gdiObjects).Add("handles", counts.handles));
            m_list->AskAllAgain();
            ShowFolder(true);
            break;
        }
        default:
            break;
    }
}

void CExplorerWindow::SetMode(EViewMode mode) {
    m_mode = mode;
    m_tip->Forget();
    m_list->SetMode(mode);
    Arrange();
    InvalidateRect(m_window, nullptr, TRUE);
    CheckMenuRadioItem(GetMenu(m_window), kLargeCommand, kDetailsCommand,
                       kLargeCommand + static_cast<UINT>(mode), MF_BYCOMMAND);
}

void CExplorerWindow::ShowFolder(bool isForced) {
    const bool isChanged = m_list->Show(ListFolder(m_folder));
    if (!isChanged && !isForced)
        return;
    m_tip->Forget();
    ShowStatus();
    TellListed(*m_list, m_mode);
}

void CExplorerWindow::ShowStatus() {
    const int all = ListView_GetItemCount(m_list->Window());
    const UINT selected = ListView_GetSelectedCount(m_list->Window());
    const std::wstring files = std::to_wstring(all) + (all == 1 ? L" file" : L" files");
    const std::wstring text =
        selected == 0 ? files : std::to_wstring(selected) + L" of " + files + L" selected";
    SendMessageW(m_status, SB_SETTEXTW, 0, reinterpret_cast<LPARAM>(text.c_str()));
}

void CExplorerWindow::ShowMenu(POINT at) {
    const auto files = SelectedPaths();
    if (files.empty())
        return;
    m_tip->Hide();
    m_isSelectionMenu = true;
    ShowSelectionMenu(m_window, files, at);
    m_isSelectionMenu = false;
    m_untoldMenu = nullptr;
}

void CExplorerWindow::AskNextIcon() {
    m_isIconPosted = false;
    const std::optional<WantedIcon> wanted = m_list->NextWanted();
    if (!wanted)
        return;
    const std::wstring file = m_folder + wanted->name;
    if (const HandlerIcons answer = AskHandler(file, EHaste::kNow); answer.result == E_PENDING)
        m_worker->Ask(file, wanted->version);
    else
        TakeIcons(*wanted, answer, false);
    // One a message: the window stays awake.
    m_isIconPosted = true;
    PostMessageW(m_window, kIconIsWanted, 0, 0);
}

void CExplorerWindow::FetchIcons() {
    for (const IconAnswer& answer : m_worker->Fetch())
        TakeIcons({answer.file.substr(m_folder.size()), answer.version}, answer.icons, true);
}

void CExplorerWindow::TakeIcons(const WantedIcon& wanted, const HandlerIcons& answer,
                                bool isBackground) {
    const bool isHandlers = answer.result == S_OK;
    const FileIcons others = isHandlers ? FileIcons() : SystemIcons(m_folder + wanted.name);
    if (!m_list->SetIcons(wanted, isHandlers ? answer.icons : others))
        return;
    Print(CJsonObject()
              .Add("icon", Utf8(wanted.name))
              .Add("from", isHandlers ? "handler" : "system")
              .Add("result", Hex(answer.result))
              .AddFlag("background", isBackground));
}

std::vector<std::wstring> CExplorerWindow::SelectedPaths() const {
    std::vector<std::wstring> paths = m_list->Selected();
    for (std::wstring& path : paths)
        path.insert(0, m_folder);
    return paths;
}

}  // namespace tarnwell::shellprobe
