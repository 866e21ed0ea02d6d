#include "shellprobe/commands.h"

#include <cstdio>

#include "common/system/json/json_line.h"
#include "common/system/os/process_counts.h"
#include "common/system/text/convert.h"
#include "shellprobe/box_answerer.h"
#include "shellprobe/context_menu_host.h"
#include "shellprobe/data_object.h"
#include "version.h"

namespace tarnwell::shellprobe {
namespace {

using Microsoft::WRL::ComPtr;

constexpr std::uint32_t kWarmUpRounds = 100;

void Print(const CJsonObject& object) {
    (void)std::printf("%s\n", object.Text().c_str());
    (void)std::fflush(stdout);
}

std::string Hex(HRESULT result) {
    char text[11];
    (void)std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(result));
    return text;
}

std::string Utf8(const std::wstring& text) {
    return std::string(Utf8FromUtf16({Units(text.c_str()), text.size()}).AsView());
}

std::vector<std::wstring> Names(const std::vector<CUTF16String>& files) {
    std::vector<std::wstring> names;
    names.reserve(files.size());
    for (const CUTF16String& file : files)
        names.emplace_back(Wide(file), file.Length());
    return names;
}

/// A window that owns menus and message boxes, as the explorer's does: of one pixel, but one that a
/// window manager gives the keyboard to.
class COwnerWindow {
public:
    explicit COwnerWindow(POINT at = {}) noexcept
        : m_window(CreateWindowExW(WS_EX_APPWINDOW, L"STATIC", L"shellprobe", WS_POPUP, at.x, at.y,
                                   1, 1, nullptr, nullptr, nullptr, nullptr)) {}
    ~COwnerWindow() { DestroyWindow(m_window); }
    COwnerWindow(const COwnerWindow&) = delete;
    COwnerWindow& operator=(const COwnerWindow&) = delete;

    HWND Get() const noexcept { return m_window; }

    /// Show shows the window and waits a moment until the keyboard is its own.
    void Show() const noexcept {
        constexpr ULONGLONG kPatience = 2000;
        ShowWindow(m_window, SW_SHOW);
        SetForegroundWindow(m_window);
        for (const ULONGLONG end = GetTickCount64() + kPatience; GetTickCount64() < end;) {
            MSG message = {};
            while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
                DispatchMessageW(&message);
            if (GetFocus() == m_window)
                return;
            Sleep(10);
        }
    }

private:
    HWND m_window;
};

std::string ItemJson(const MenuItem& item, std::uint32_t firstId) {
    CJsonObject json;
    if (item.isSeparator)
        return json.AddFlag("separator", true).Text();
    json.Add("id", item.id).Add("offset", item.id - firstId).Add("text", Utf8(item.text));
    if (item.verb)
        json.Add("verb", Utf8(*item.verb));
    else
        json.AddNull("verb");
    json.AddFlag("default", item.isDefault);
    if (item.bitmap) {
        json.AddRaw("bitmap", "[" + std::to_string(item.bitmap->cx) + "," +
                                  std::to_string(item.bitmap->cy) + "]");
    } else {
        json.AddNull("bitmap");
    }
    return json.Text();
}

std::string BoxesJson(const std::vector<MessageBoxText>& boxes) {
    CJsonArray json;
    for (const MessageBoxText& box : boxes) {
        CJsonObject one;
        one.Add("title", Utf8(box.title)).Add("text", Utf8(box.text));
        json.AddRaw(one.Text());
    }
    return json.Text();
}

std::string CountsJson(const ProcessCounts& counts) {
    CJsonObject json;
    json.Add("heapBytes", counts.heapBytes)
        .Add("heapBlocks", counts.heapBlocks)
        .Add("committedBytes", counts.committedBytes)
        .Add("handles", counts.handles)
        .Add("gdi", counts.gdiObjects);
    return json.Text();
}

int RunMenu(const Arguments& arguments, IDataObject* selection) {
    CContextMenuHost host;
    CJsonObject json;
    const HRESULT initialized = host.Initialize(selection);
    json.Add("initialize", Hex(initialized));
    if (FAILED(initialized)) {
        json.AddNull("query").AddRaw("items", "[]");
        Print(json);
        return 1;
    }
    const HRESULT filled = host.Query(arguments.firstId, arguments.lastId, arguments.flags);
    CJsonArray items;
    for (const MenuItem& item : host.Items())
        items.AddRaw(ItemJson(item, arguments.firstId));
    Print(json.Add("query", Hex(filled)).AddRaw("items", items.Text()));
    return FAILED(filled) ? 1 : 0;
}

/// Fill takes a handler as far as a menu that can be shown; says on standard error what stops it.
bool Fill(CContextMenuHost& host, const Arguments& arguments, IDataObject* selection) {
    HRESULT result = host.Initialize(selection);
    if (FAILED(result)) {
        (void)std::fprintf(stderr, "shellprobe: the handler refuses the selection: %s\n",
                           Hex(result).c_str());
        return false;
    }
    result = host.Query(arguments.firstId, arguments.lastId, arguments.flags);
    if (FAILED(result))
        (void)std::fprintf(stderr, "shellprobe: the handler makes no menu: %s\n",
                           Hex(result).c_str());
    return SUCCEEDED(result);
}

int RunInvoke(const Arguments& arguments, IDataObject* selection) {
    CContextMenuHost host;
    if (!Fill(host, arguments, selection))
        return 1;
    const COwnerWindow owner;
    CBoxAnswerer answerer{std::chrono::milliseconds(arguments.answerAfter)};
    const HRESULT result = host.Invoke(arguments.offset, owner.Get());
    CJsonObject json;
    json.Add("invoke", Hex(result)).AddRaw("boxes", BoxesJson(answerer.Finish()));
    Print(json);
    return FAILED(result) ? 1 : 0;
}

int RunPopup(const Arguments& arguments, IDataObject* selection) {
    CContextMenuHost host;
    if (!Fill(host, arguments, selection))
        return 1;
    const POINT at = {arguments.x, arguments.y};
    const COwnerWindow owner(at);
    owner.Show();
    const std::optional<UINT> chosen = host.Track(at, owner.Get());
    CJsonObject json;
    if (!chosen) {
        Print(json.AddNull("chosen").AddNull("invoke"));
        return 0;
    }
    const HRESULT result = host.Invoke(*chosen, owner.Get());
    Print(json.Add("chosen", *chosen).Add("invoke", Hex(result)));
    return FAILED(result) ? 1 : 0;
}

/// One life of a handler, from its creation to the end of its menu.
bool MenuRound(const Arguments& arguments, IDataObject* selection) {
    CContextMenuHost host;
    if (!Fill(host, arguments, selection))
        return false;
    host.Items();
    return true;
}

int RunStress(const Arguments& arguments, IDataObject* selection) {
    const auto run = [&](std::uint32_t rounds) {
        for (std::uint32_t i = 0; i < rounds; ++i) {
            if (!MenuRound(arguments, selection))
                return false;
        }
        return true;
    };
    if (!run(kWarmUpRounds))
        return 1;
    CountProcess();  // its own first use of the system's tables counts as warm-up too
    const ProcessCounts warm = CountProcess();
    if (!run(arguments.rounds))
        return 1;
    const ProcessCounts end = CountProcess();
    CJsonObject json;
    json.Add("rounds", arguments.rounds)
        .AddRaw("warm", CountsJson(warm))
        .AddRaw("end", CountsJson(end));
    Print(json);
    return 0;
}

}  // namespace

int Run(const Arguments& arguments) {
    if (arguments.command == ECommand::kHelp) {
        (void)std::printf("%s", HelpText().c_str());
        return 0;
    }
    if (arguments.command == ECommand::kVersion) {
        (void)std::printf("shellprobe %s\n", TARNWELL_VERSION_TEXT);
        return 0;
    }
    const ComPtr<IDataObject> selection = MakeDataObject(Names(arguments.files));
    switch (arguments.command) {
        case ECommand::kInvoke:
            return RunInvoke(arguments, selection.Get());
        case ECommand::kPopup:
            return RunPopup(arguments, selection.Get());
        case ECommand::kStress:
            return RunStress(arguments, selection.Get());
        default:
            return RunMenu(arguments, selection.Get());
    }
}

}  // namespace tarnwell::shellprobe
