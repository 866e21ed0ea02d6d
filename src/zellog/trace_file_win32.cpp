#include "trace_file.h"

#include <windows.h>

#include <cwchar>
#include <iterator>

namespace tarnwell::zellog {
namespace {

// Open until the process ends: the last lines may come while other modules are being unloaded.
HANDLE OpenFromEnvironment() noexcept {
    wchar_t path[32768];  // the longest value that the environment can hold
    const DWORD length =
        GetEnvironmentVariableW(L"TARNWELL_TRACE", path, static_cast<DWORD>(std::size(path)));
    if (length == 0 || length >= std::size(path))
        return INVALID_HANDLE_VALUE;
    // Append access alone makes every write go to the end, whoever else writes.
    return CreateFileW(path, FILE_APPEND_DATA,
                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

HANDLE File() noexcept {
    static const HANDLE file = OpenFromEnvironment();
    return file;
}

/// One line at a time between all who write. Windows appends in one step by itself; where a file
/// server or another system behind the same calls looks up the end first, lines of two processes
/// would meet there. The lock lies on a byte far behind any line. Whoever holds it and hangs is
/// not waited for: after a moment the line is written without it.
class CLineLock {
public:
    explicit CLineLock(HANDLE file) noexcept : m_file(file) {
        constexpr int kYields = 30;
        const ULONGLONG end = GetTickCount64() + 1000;  // ms: longer than a busy machine's pauses
        for (int i = 0; !m_held && (i < kYields || GetTickCount64() < end); ++i) {
            if (i > 0)
                Sleep(i < kYields ? 0 : 1);
            OVERLAPPED place = Place();
            m_held = LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0,
                                &place) != FALSE;
        }
    }
    ~CLineLock() {
        OVERLAPPED place = Place();
        if (m_held)
            UnlockFileEx(m_file, 0, 1, 0, &place);
    }
    CLineLock(const CLineLock&) = delete;
    CLineLock& operator=(const CLineLock&) = delete;

private:
    static OVERLAPPED Place() noexcept {
        OVERLAPPED place{};
        place.OffsetHigh = 0x40000000;
        return place;
    }
    HANDLE m_file;
    bool m_held = false;
};

}  // namespace

bool TraceIsOn() noexcept {
    return File() != INVALID_HANDLE_VALUE;
}

void WriteTrace(unsigned depth, ETraceMark mark, const char* text) noexcept {
    SYSTEMTIME now;
    GetSystemTime(&now);
    const CTraceLine line(
        {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds},
        GetCurrentProcessId(), GetCurrentThreadId(), depth, mark, text);
    DWORD written = 0;
    const CLineLock lock(File());
    WriteFile(File(), line.Bytes(), static_cast<DWORD>(line.Length()), &written, nullptr);
}

}  // namespace tarnwell::zellog
