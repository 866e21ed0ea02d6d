#pragma once

// A text file that several processes append whole lines to and that never outgrows its limit: when
// it is full it becomes NAME.1, NAME.1 becomes NAME.2, and so on; the oldest goes. Every writer
// notices by itself that its file has moved on. Any thread may append.

// windows.h comes before what needs it.
#include <windows.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include "common/system/os/unique.h"

namespace tarnwell::zellog {

struct RollingFileHandle {
    using Value = HANDLE;
    static Value Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) noexcept { CloseHandle(value); }
};

class CRollingFile {
public:
    static constexpr std::uint64_t kLimit = 10'000'000;  ///< bytes
    static constexpr int kOldFiles = 3;
    static constexpr std::size_t kLongestLine = 4096;  ///< bytes; room kept free for one

    /// Tells by its first bytes, at most kStartLength, whether a file that is there is one of ours.
    using IsOurs = bool (*)(std::string_view start) noexcept;
    static constexpr std::size_t kStartLength = 32;

    /// Opens or makes `path`, unless it names a pipe, a device or a file that `isOurs` (null: takes
    /// any) refuses. Its old files stand beside it, so the folder has to allow making, renaming and
    /// deleting; where it does not, the file grows on.
    explicit CRollingFile(std::wstring path, std::uint64_t limit = kLimit,
                          IsOurs isOurs = nullptr) noexcept;

    bool IsOpen() const noexcept { return static_cast<bool>(m_file); }

    /// Append writes one line in one piece. What goes wrong (a full disk, a folder that is gone)
    /// is ignored, and nobody is waited for longer than a second: then the line is written all the
    /// same, or left out if it is this process's own thread that does not come back.
    void Append(std::string_view line) noexcept;

private:
    using CFile = CUnique<RollingFileHandle>;

    CFile Open() const noexcept;
    bool IsTaken(HANDLE file) const noexcept;
    bool IsFull() const noexcept;
    CFile NextFile() noexcept;
    bool Rotate() const;
    void Write(std::string_view line) const noexcept;

    std::wstring m_path;
    std::uint64_t m_limit;
    IsOurs m_isOurs;
    CFile m_file;
    SRWLOCK m_turn = SRWLOCK_INIT;
    std::atomic<bool> m_waitsForThreads = true;  ///< false once another thread has kept it too long
    ULONGLONG m_nextRotation = 0;     ///< tick before which a failed one is not tried again
    bool m_waitsForProcesses = true;  ///< false once another process has kept the lock too long
};

}  // namespace tarnwell::zellog
