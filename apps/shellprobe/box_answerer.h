#pragma once

// Answers the message boxes of this process from a thread of its own, as a patient user would, and
// keeps what they said.

#include <chrono>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "common/system/os/windows.h"

namespace tarnwell::shellprobe {

struct MessageBoxText {
    std::wstring title;
    std::wstring text;
};

class CBoxAnswerer {
public:
    /// Starts answering; each box is left on the screen for `patience`.
    explicit CBoxAnswerer(std::chrono::milliseconds patience);

    /// Finish stops answering and gives the boxes in the order in which they came.
    std::vector<MessageBoxText> Finish();

private:
    void Run(const std::stop_token& stop);
    void Answer(HWND box);

    std::chrono::milliseconds m_patience;
    std::vector<MessageBoxText> m_boxes;  // the thread's until it has ended
    std::jthread m_thread;
};

}  // namespace tarnwell::shellprobe
