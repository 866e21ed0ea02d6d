#include "shellprobe/box_answerer.h"

namespace tarnwell::shellprobe {
namespace {

using namespace std::chrono_literals;

constexpr wchar_t kDialogClass[] = L"#32770";
constexpr int kTextId = 0xFFFF;  // of a message box's text
constexpr auto kPoll = 20ms;
constexpr auto kUntilGone = 5s;

/// A message box of this process that is on the screen, null without one.
HWND FindBox() {
    HWND box = nullptr;
    while ((box = FindWindowExW(nullptr, box, kDialogClass, nullptr))) {
        DWORD process = 0;
        GetWindowThreadProcessId(box, &process);
        if (process == GetCurrentProcessId() && IsWindowVisible(box))
            return box;
    }
    return nullptr;
}

std::wstring TextOf(HWND window) {
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
    const int length = GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

}  // namespace

CBoxAnswerer::CBoxAnswerer(std::chrono::milliseconds patience)
    : m_patience(patience), m_thread([this](const std::stop_token& stop) { Run(stop); }) {}

std::vector<MessageBoxText> CBoxAnswerer::Finish() {
    m_thread.request_stop();
    m_thread.join();
    return std::move(m_boxes);
}

void CBoxAnswerer::Run(const std::stop_token& stop) {
    while (!stop.stop_requested()) {
        if (const HWND box = FindBox())
            Answer(box);
        std::this_thread::sleep_for(kPoll);
    }
}

void CBoxAnswerer::Answer(HWND box) {
    m_boxes.push_back({TextOf(box), TextOf(GetDlgItem(box, kTextId))});
    std::this_thread::sleep_for(m_patience);
    // The only button of a box with one is "cancel" on some systems, whatever it says.
    const int button = GetDlgItem(box, IDOK) ? IDOK : IDCANCEL;
    PostMessageW(box, WM_COMMAND, static_cast<WPARAM>(button), 0);
    const auto end = std::chrono::steady_clock::now() + kUntilGone;
    while (IsWindow(box) && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(kPoll);
}

}  // namespace tarnwell::shellprobe
