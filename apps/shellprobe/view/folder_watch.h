#pragma once

// Tells a window when its folder may have changed, from a thread of its own, which ends with the
// watch.

#include <string>
#include <thread>

#include "common/system/os/owners_win32.h"

namespace tarnwell::shellprobe {

class CFolderWatch {
public:
    /// Starts watching `folder`; `message` is posted to `window` after each change of a name, a
    /// size or a time in it. Some folders report nothing (shares, foreign file systems), so it is
    /// posted every second as well.
    CFolderWatch(const std::wstring& folder, HWND window, UINT message);
    ~CFolderWatch();

private:
    CUniqueHandle m_stop;
    std::jthread m_thread;
};

}  // namespace tarnwell::shellprobe
