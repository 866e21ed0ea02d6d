#pragma once

// Asks icon handlers that are slow, one file after the other, on a background thread with a COM
// apartment of its own. Belongs to the window's thread; the answers are fetched there.

#include <condition_variable>
#include <deque>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "shellprobe/view/file_icons.h"

namespace tarnwell::shellprobe {

struct IconAnswer {
    std::wstring file;
    std::uint64_t version = 0;
    HandlerIcons icons;
};

class CIconWorker {
public:
    /// Starts the thread; `message` is posted to `window` for each answer that can be fetched.
    CIconWorker(HWND window, UINT message);
    /// Ends the thread after the question that it is at; other questions are dropped.
    ~CIconWorker() = default;
    CIconWorker(const CIconWorker&) = delete;
    CIconWorker& operator=(const CIconWorker&) = delete;

    /// Ask queues a question for `file`, a full path, instead of an older one that still waits;
    /// `version` comes back with the answer.
    void Ask(const std::wstring& file, std::uint64_t version);

    /// Fetch gives the answers since the last call.
    std::vector<IconAnswer> Fetch();

private:
    void Run(const std::stop_token& stop);

    HWND m_window;
    UINT m_message;
    std::mutex m_mutex;  // guards the two lists
    std::condition_variable_any m_asked;
    std::deque<IconAnswer> m_questions;
    std::vector<IconAnswer> m_answers;
    std::jthread m_thread;  // last: it ends before what it uses
};

}  // namespace tarnwell::shellprobe
