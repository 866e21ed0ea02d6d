#include "shellprobe/owner_window.h"

namespace tarnwell::shellprobe {

COwnerWindow::COwnerWindow(POINT at) noexcept
    : m_window(CreateWindowExW(WS_EX_APPWINDOW, L"STATIC", L"shellprobe", WS_POPUP, at.x, at.y, 1,
                               1, nullptr, nullptr, nullptr, nullptr)) {}

COwnerWindow::~COwnerWindow() {
    DestroyWindow(m_window);
}

void COwnerWindow::Show() const noexcept {
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

}  // namespace tarnwell::shellprobe
