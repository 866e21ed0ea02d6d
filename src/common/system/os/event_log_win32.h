#pragma once

// The Windows event log under the source "zelss". Nothing here fails visibly: where the log cannot
// be had, reports are dropped.

#include "common/system/os/event.h"
#include "common/system/os/windows.h"

namespace tarnwell {

/// Where events are reported to.
class CEventLog {
public:
    virtual ~CEventLog() = default;

    /// Report writes the event to the log or drops it.
    virtual void Report(const CEvent& event) noexcept = 0;
};

/// The system's calls, replaceable so that a test can watch them and make them fail.
struct EventLogSystem {
    HANDLE(WINAPI* open)(const wchar_t* server, const wchar_t* source) = OpenEventLogW;
    BOOL(WINAPI* report)
    (HANDLE log, WORD type, WORD category, DWORD identifier, PSID user, WORD strings, DWORD bytes,
     const wchar_t** texts, void* data) = ReportEventW;
    BOOL(WINAPI* close)(HANDLE log) = CloseEventLog;
};

/// The log of this machine. Any thread may report.
class CWinEventLog final : public CEventLog {
public:
    /// Opens the log; where the system refuses, every report is dropped.
    explicit CWinEventLog(const EventLogSystem& system = {}) noexcept;
    ~CWinEventLog() override;
    CWinEventLog(const CWinEventLog&) = delete;
    CWinEventLog& operator=(const CWinEventLog&) = delete;

    /// Report sends the identifier, its severity as the type, the category and the arguments'
    /// texts. The system takes 256 texts of 31,839 units: what is beyond is cut off.
    void Report(const CEvent& event) noexcept override;

private:
    EventLogSystem m_system;
    HANDLE m_log;
};

/// EventLog is the process's own log, opened by the first call.
CEventLog& EventLog() noexcept;

}  // namespace tarnwell
