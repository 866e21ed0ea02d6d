#pragma once

// A window that owns menus and message boxes, as the explorer's does: of one pixel, but one that a
// window manager gives the keyboard to. Belongs to the thread that made it.

#include "common/system/os/windows.h"

namespace tarnwell::shellprobe {

class COwnerWindow {
public:
    explicit COwnerWindow(POINT at = {}) noexcept;
    ~COwnerWindow();
    COwnerWindow(const COwnerWindow&) = delete;
    COwnerWindow& operator=(const COwnerWindow&) = delete;

    HWND Get() const noexcept { return m_window; }

    /// Show shows the window and waits a moment until the keyboard is its own.
    void Show() const noexcept;

private:
    HWND m_window;
};

}  // namespace tarnwell::shellprobe
