#pragma once

// The tip of the file under the resting mouse pointer. It watches the list's mouse messages and
// asks once each time the pointer comes to rest on another row; the tip goes with the next move to
// elsewhere, click, key or turn of the wheel. Belongs to the window's thread and must go before the
// list's window does.

#include <functional>
#include <optional>
#include <string>

#include "common/system/os/windows.h"

namespace tarnwell::shellprobe {

class CHoverTip {
public:
    /// RowAt gives the row under a point of the list, -1 for none; Ask gives a row's tip.
    using RowAt = std::function<int(POINT)>;
    using Ask = std::function<std::optional<std::wstring>(int)>;

    CHoverTip(HWND list, HFONT font, RowAt rowAt, Ask ask);
    ~CHoverTip();
    CHoverTip(const CHoverTip&) = delete;
    CHoverTip& operator=(const CHoverTip&) = delete;

    /// Hide takes the tip away; the pointer has to leave the row before it is asked for again.
    void Hide();

    /// Forget takes the tip away for rows that are no longer what they were: wherever the pointer
    /// rests next is asked about.
    void Forget();

private:
    static LRESULT CALLBACK Watch(HWND list, UINT message, WPARAM word, LPARAM value, UINT_PTR id,
                                  DWORD_PTR self) noexcept;
    void Moved(POINT at);
    void Rested(POINT at);
    void Show(const std::wstring& text, POINT at);

    HWND m_list;
    HWND m_tip;
    RowAt m_rowAt;
    Ask m_ask;
    int m_row = -1;  // under the pointer
    bool m_isAsked = false;
};

}  // namespace tarnwell::shellprobe
