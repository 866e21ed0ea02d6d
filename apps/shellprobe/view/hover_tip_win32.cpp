#include "shellprobe/view/hover_tip.h"

#include <utility>

// Windows last.
#include <commctrl.h>
#include <windowsx.h>

namespace tarnwell::shellprobe {
namespace {

constexpr int kWidest = 600;       // pixels; longer lines are broken
constexpr int kBelowPointer = 20;  // so that the pointer hides none of the text

TTTOOLINFOW ToolOf(HWND list) {
    TTTOOLINFOW tool = {};
    // The size that every version of the controls takes.
    tool.cbSize = TTTOOLINFOW_V1_SIZE;
    tool.uFlags = TTF_IDISHWND | TTF_TRACK | TTF_ABSOLUTE;
    tool.hwnd = list;
    tool.uId = reinterpret_cast<UINT_PTR>(list);
    return tool;
}

}  // namespace

CHoverTip::CHoverTip(HWND list, HFONT font, RowAt rowAt, Ask ask)
    : m_list(list),
      m_tip(CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr,
                            WS_POPUP | TTS_NOPREFIX | TTS_ALWAYSTIP, 0, 0, 0, 0, list, nullptr,
                            nullptr, nullptr)),
      m_rowAt(std::move(rowAt)),
      m_ask(std::move(ask)) {
    TTTOOLINFOW tool = ToolOf(list);
    tool.lpszText = const_cast<wchar_t*>(L"");
    SendMessageW(m_tip, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
    SendMessageW(m_tip, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    // Only with a greatest width are line breaks taken as such.
    SendMessageW(m_tip, TTM_SETMAXTIPWIDTH, 0, kWidest);
    SetWindowSubclass(list, Watch, 1, reinterpret_cast<DWORD_PTR>(this));
}

CHoverTip::~CHoverTip() {
    RemoveWindowSubclass(m_list, Watch, 1);
    DestroyWindow(m_tip);
}

LRESULT CALLBACK CHoverTip::Watch(HWND list, UINT message, WPARAM word, LPARAM value, UINT_PTR,
                                  DWORD_PTR self) noexcept {
    auto* const tip = reinterpret_cast<CHoverTip*>(self);
    switch (message) {
        case WM_MOUSEMOVE:
            tip->Moved({GET_X_LPARAM(value), GET_Y_LPARAM(value)});
            break;
        case WM_MOUSEHOVER:
            // Not the list's business: it would take the row for pointed at for good.
            tip->Rested({GET_X_LPARAM(value), GET_Y_LPARAM(value)});
            return 0;
        case WM_MOUSELEAVE:
            tip->Forget();
            break;
        case WM_LBUTTONDOWN:
        case WM_RBUTTONDOWN:
        case WM_MOUSEWHEEL:
        case WM_KEYDOWN:
        case WM_SYSKEYDOWN:
            tip->Hide();
            break;
        default:
            break;
    }
    return DefSubclassProc(list, message, word, value);
}

void CHoverTip::Moved(POINT at) {
    const int row = m_rowAt(at);
    if (row != m_row) {
        Hide();
        m_row = row;
        m_isAsked = false;
    }
    TRACKMOUSEEVENT track = {sizeof track, TME_HOVER | TME_LEAVE, m_list, HOVER_DEFAULT};
    TrackMouseEvent(&track);
}

void CHoverTip::Rested(POINT at) {
    if (m_row < 0 || m_isAsked)
        return;
    m_isAsked = true;
    if (const std::optional<std::wstring> text = m_ask(m_row); text && !text->empty())
        Show(*text, at);
}

void CHoverTip::Show(const std::wstring& text, POINT at) {
    ClientToScreen(m_list, &at);
    TTTOOLINFOW tool = ToolOf(m_list);
    tool.lpszText = const_cast<wchar_t*>(text.c_str());
    SendMessageW(m_tip, TTM_UPDATETIPTEXTW, 0, reinterpret_cast<LPARAM>(&tool));
    const auto size = SendMessageW(m_tip, TTM_GETBUBBLESIZE, 0, reinterpret_cast<LPARAM>(&tool));
    // A tip under the pointer would end the rest that it came from: it goes above where there is no
    // room below.
    const int bottom = at.y + kBelowPointer + HIWORD(size);
    const int top =
        bottom <= GetSystemMetrics(SM_YVIRTUALSCREEN) + GetSystemMetrics(SM_CYVIRTUALSCREEN)
            ? at.y + kBelowPointer
            : at.y - kBelowPointer / 2 - HIWORD(size);
    SendMessageW(m_tip, TTM_TRACKPOSITION, 0, MAKELPARAM(at.x, top));
    SendMessageW(m_tip, TTM_TRACKACTIVATE, TRUE, reinterpret_cast<LPARAM>(&tool));
}

void CHoverTip::Hide() {
    TTTOOLINFOW tool = ToolOf(m_list);
    SendMessageW(m_tip, TTM_TRACKACTIVATE, FALSE, reinterpret_cast<LPARAM>(&tool));
    m_isAsked = true;
}

void CHoverTip::Forget() {
    Hide();
    m_row = -1;
}

}  // namespace tarnwell::shellprobe
