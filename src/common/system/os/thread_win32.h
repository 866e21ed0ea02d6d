#pragma once

// A worker thread whose owner goes on with duties of its own while it waits. The object belongs to
// the owner's thread; only the body runs on the other.

#include <atomic>
#include <cstdint>
#include <functional>

#include "common/system/os/event.h"
#include "common/system/os/owners_win32.h"
#include "common/system/text/exception.h"

namespace tarnwell {

/// What starting or waiting can fail with: an event for the log, and the same in English.
class EThreadError : public CException {
public:
    /// FailedCall is a system call that failed with `error`, FailedWait a wait whose result
    /// cannot be.
    static EThreadError FailedCall(const char16_t* call, std::uint32_t error);
    static EThreadError FailedWait(std::uint32_t result);

    const CEvent& Event() const noexcept { return m_event; }

private:
    EThreadError(CISOString message, CEvent event) noexcept
        : CException(std::move(message)), m_event(std::move(event)) {}

    CEvent m_event;
};

/// The system's calls, replaceable so that a test can drive every outcome.
struct ThreadSystem {
    HANDLE(WINAPI* create)
    (SECURITY_ATTRIBUTES* security, SIZE_T stack, LPTHREAD_START_ROUTINE entry, void* parameter,
     DWORD flags, DWORD* identifier) = CreateThread;
    DWORD(WINAPI* wait)(HANDLE object, DWORD milliseconds) = WaitForSingleObject;
    BOOL(WINAPI* exitCode)(HANDLE thread, DWORD* code) = GetExitCodeThread;
};

class CThread {
public:
    /// Run is the thread's body; what it returns is the exit code. What it throws ends the thread
    /// with kNoExitCode.
    virtual std::uint32_t Run() = 0;

    /// Waits without limit for a thread that is still running; one whose body has not begun never
    /// begins it. Since the parts of a derived class are gone by then, a class whose body uses
    /// them calls Finish in its own destructor. Not to be destroyed by its own body, nor by a DLL
    /// that is being unloaded: the loader would wait for the thread and the thread for the loader.
    virtual ~CThread();

    explicit CThread(const ThreadSystem& system = {}) noexcept : m_system(system) {}
    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;

    /// The exit code of a thread that threw, and of one that was never started: -1 of 32 bits.
    static constexpr std::uint32_t kNoExitCode = 0xFFFFFFFF;

    /// start makes the thread; a thread that has finished may be started again. Throws
    /// EThreadError if the system makes none, std::logic_error while one is running.
    void start();

    /// join waits for the end of the thread, calls `callback` before each tenth of a second of
    /// waiting, and gives the exit code; kNoExitCode at once without a thread. A body that has
    /// returned counts as the end, though the system may need a moment more and until then gives
    /// STILL_ACTIVE (259) as the code. Throws EThreadError, std::bad_function_call for an empty
    /// callback that is to be called, and what the callback throws; the thread goes on then.
    std::uint32_t join(const std::function<void()>& callback);

protected:
    /// Finish keeps a body that has not begun from beginning and waits for one that has.
    void Finish() noexcept;

private:
    static DWORD WINAPI Entry(void* self) noexcept;
    std::uint32_t RunGuarded() noexcept;

    ThreadSystem m_system;
    CUniqueHandle m_handle;  ///< none until started
    DWORD m_identifier = 0;
    std::atomic<bool> m_isTaken = false;  ///< by the body's begin, or by the owner instead
    std::atomic<bool> m_isFinished = false;
};

}  // namespace tarnwell
