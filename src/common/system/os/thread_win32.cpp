#include "common/system/os/thread_win32.h"

#include <stdexcept>

#include "common/system/text/convert.h"
#include "common/system/trace/trace.h"

namespace tarnwell {
namespace {

constexpr DWORD kSlice = 100;  // ms
constexpr char16_t kWait[] = u"WaitForSingleObject";

CEvent MakeEvent(std::uint32_t identifier, const char16_t* call, std::uint32_t number) {
    CEvent event;
    event.identifier = identifier;
    event.arguments.Add(call).Add(number);
    return event;
}

}  // namespace

EThreadError EThreadError::FailedCall(const char16_t* call, std::uint32_t error) {
    CEvent event = MakeEvent(kEventSystemCallFailed, call, error);
    const auto text = Utf8FromUtf16(event.arguments.Format(u"%1 failed with error %2."));
    return {text, std::move(event)};
}

EThreadError EThreadError::FailedWait(std::uint32_t result) {
    CEvent event = MakeEvent(kEventUnexpectedResult, kWait, result);
    const auto text = Utf8FromUtf16(event.arguments.Format(u"%1 returned %2."));
    return {text, std::move(event)};
}

CThread::~CThread() {
    Finish();
}

void CThread::Finish() noexcept {
    if (!m_handle || m_identifier == GetCurrentThreadId())
        return;
    m_isTaken.exchange(true);
    m_system.wait(m_handle.Get(), INFINITE);
}

void CThread::start() {
    if (m_handle && !m_isFinished)
        throw std::logic_error("CThread: the thread is running");
    m_isTaken = false;
    m_isFinished = false;
    m_handle.Reset(m_system.create(nullptr, 0, &CThread::Entry, this, 0, &m_identifier));
    if (!m_handle)
        throw EThreadError::FailedCall(u"CreateThread", GetLastError());
}

std::uint32_t CThread::RunGuarded() noexcept try { return Run(); } catch (...) {
    TraceString("An exception occured in a thread!");
    return kNoExitCode;
}

DWORD WINAPI CThread::Entry(void* self) noexcept {
    auto* const thread = static_cast<CThread*>(self);
    const bool isAbandoned = thread->m_isTaken.exchange(true);
    const std::uint32_t code = isAbandoned ? kNoExitCode : thread->RunGuarded();
    // The owner may start another thread in the same object from here on.
    thread->m_isFinished = true;
    return code;
}

std::uint32_t CThread::join(const std::function<void()>& callback) {
    if (!m_handle)
        return kNoExitCode;
    DWORD result = WAIT_OBJECT_0;
    while (!m_isFinished) {
        callback();
        result = m_system.wait(m_handle.Get(), kSlice);
        if (result != WAIT_TIMEOUT)
            break;
    }
    if (result == WAIT_FAILED)
        throw EThreadError::FailedCall(kWait, GetLastError());
    if (result != WAIT_OBJECT_0 && result != WAIT_TIMEOUT)
        throw EThreadError::FailedWait(result);
    DWORD code = 0;
    if (!m_system.exitCode(m_handle.Get(), &code))
        throw EThreadError::FailedCall(u"GetExitCodeThread", GetLastError());
    return code;
}

}  // namespace tarnwell
