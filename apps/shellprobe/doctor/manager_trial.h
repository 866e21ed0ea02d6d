#pragma once

// The manager, started and asked as the extension does it, but never waited for longer than the
// caller says. The pipe and the process's handle belong to the trial; one thread.

#include <chrono>
#include <optional>
#include <string>

#include "common/system/os/owners_win32.h"
#include "common/system/text/string.h"

namespace tarnwell::shellprobe {

class CManagerTrial {
public:
    /// Starts `commandLine`. Where it cannot, IsStarted is false and Error says why.
    explicit CManagerTrial(const CUTF16String& commandLine);

    bool IsStarted() const noexcept { return static_cast<bool>(m_process); }
    DWORD Error() const noexcept { return m_error; }

    /// ReadPort gives what the manager writes first, at most ten bytes as the extension reads them;
    /// "" where it closes its output without a word, nothing where it keeps silent for `time`.
    std::optional<std::string> ReadPort(std::chrono::milliseconds time);

    /// End ends the process that was started here, and no other: one that does not do its work
    /// would stay for good.
    void End() noexcept;

private:
    CUniqueHandle m_output;
    CUniqueHandle m_process;
    DWORD m_error = 0;
};

/// AskManager sends a request without an action to the port and gives the answer's status code.
/// Throws CException, with what went wrong, where no well-formed answer begins within `time`.
std::uint32_t AskManager(std::uint16_t port, std::chrono::milliseconds time);

}  // namespace tarnwell::shellprobe
