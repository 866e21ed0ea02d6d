#include "shellprobe/view/selection_commands.h"

#include <algorithm>
#include <cstdio>

#include "shellprobe/context_menu_host.h"
#include "shellprobe/data_object.h"
#include "shellprobe/handler.h"
#include "shellprobe/output.h"
#include "shellprobe/view/screen_points.h"
// Windows last.
#include <shellapi.h>

namespace tarnwell::shellprobe {
namespace {

constexpr UINT kFirstId = 1;
constexpr UINT kLastId = 0x7FFF;
constexpr UINT kOpenId = kLastId + 1;

std::string FilesJson(const FilePaths& files) {
    CJsonArray json;
    for (const std::wstring& file : files)
        json.AddRaw(Quoted(Utf8(file)));
    return json.Text();
}

/// The hourglass while a command runs: it waits for the manager.
class CWaitCursor {
public:
    CWaitCursor() : m_before(SetCursor(LoadCursorW(nullptr, IDC_WAIT))) {}
    ~CWaitCursor() { SetCursor(m_before); }
    CWaitCursor(const CWaitCursor&) = delete;
    CWaitCursor& operator=(const CWaitCursor&) = delete;

private:
    HCURSOR m_before;
};

/// A host whose menu the handler has filled; without items where it fills none.
CContextMenuHost FilledHost(const FilePaths& files, UINT flags) {
    CContextMenuHost host;
    if (SUCCEEDED(host.Initialize(MakeDataObject(files).Get())))
        host.Query(kFirstId, kLastId, flags);
    return host;
}

std::optional<UINT> DefaultOffset(const CContextMenuHost& host) {
    const std::vector<MenuItem> items = host.Items();
    const auto found = std::ranges::find(items, true, &MenuItem::isDefault);
    if (found == items.end())
        return std::nullopt;
    return found->id - kFirstId;
}

void Invoke(CContextMenuHost& host, UINT offset, HWND owner, const FilePaths& files) {
    const CWaitCursor cursor;
    const HRESULT result = host.Invoke(offset, owner);
    Print(CJsonObject()
              .Add("invoke", Hex(result))
              .Add("offset", offset)
              .AddRaw("files", FilesJson(files)));
}

void OpenWithShell(HWND owner, const FilePaths& files) {
    const CWaitCursor cursor;
    for (const std::wstring& file : files) {
        SHELLEXECUTEINFOW info = {};
        info.cbSize = sizeof info;
        info.hwnd = owner;
        info.lpFile = file.c_str();
        info.nShow = SW_SHOWNORMAL;
        const HRESULT result = ShellExecuteExW(&info) ? S_OK : HRESULT_FROM_WIN32(GetLastError());
        Print(CJsonObject().Add("open", Hex(result)).AddRaw("files", FilesJson({file})));
    }
}

bool IsSeparator(HMENU menu, int position) {
    return (GetMenuState(menu, static_cast<UINT>(position), MF_BYPOSITION) & MF_SEPARATOR) != 0;
}

/// The handler's separators part its items from others: none belongs at the menu's ends.
void DropOuterSeparators(HMENU menu) {
    for (const bool isTop : {true, false}) {
        for (int count; (count = GetMenuItemCount(menu)) > 0;) {
            const int end = isTop ? 0 : count - 1;
            if (!IsSeparator(menu, end))
                break;
            DeleteMenu(menu, static_cast<UINT>(end), MF_BYPOSITION);
        }
    }
}

void AddOpen(HMENU menu) {
    InsertMenuW(menu, 0, MF_BYPOSITION | MF_STRING, kOpenId, L"&Open");
    SetMenuDefaultItem(menu, kOpenId, FALSE);
}

/// Says on standard error why there is no handler; the files are still the shell's.
template <class Function>
void WithHandler(Function function) {
    try {
        function();
    } catch (const ENoHandler& error) {
        (void)std::fprintf(stderr, "shellprobe: %s\n", error.what());
    }
}

}  // namespace

void ShowSelectionMenu(HWND owner, const FilePaths& files, POINT at) {
    WithHandler([&] {
        CContextMenuHost host = FilledHost(files, CMF_NORMAL | CMF_EXPLORE);
        if (!DefaultOffset(host))
            AddOpen(host.Menu());
        DropOuterSeparators(host.Menu());
        const std::optional<UINT> chosen = host.Track(at, owner);
        if (!chosen)
            Print(CJsonObject().AddNull("chosen"));
        else if (*chosen == kOpenId - kFirstId)
            OpenWithShell(owner, files);
        else
            Invoke(host, *chosen, owner, files);
    });
}

void RunDefaultCommand(HWND owner, const FilePaths& files) {
    WithHandler([&] {
        CContextMenuHost host = FilledHost(files, CMF_DEFAULTONLY);
        if (const std::optional<UINT> offset = DefaultOffset(host))
            Invoke(host, *offset, owner, files);
        else
            OpenWithShell(owner, files);
    });
}

void TellShownMenu(HMENU menu) {
    CJsonArray texts;
    std::vector<POINT> points;
    for (int i = 0; i < GetMenuItemCount(menu); ++i) {
        wchar_t text[512] = {};
        GetMenuStringW(menu, static_cast<UINT>(i), text, 512, MF_BYPOSITION);
        texts.AddRaw(Quoted(IsSeparator(menu, i) ? "-" : Utf8(text)));
        RECT item = {};
        GetMenuItemRect(nullptr, menu, static_cast<UINT>(i), &item);
        points.push_back(Centre(item));
    }
    Print(CJsonObject().AddRaw("menu", texts.Text()).AddRaw("at", PointsJson(points)));
}

}  // namespace tarnwell::shellprobe
