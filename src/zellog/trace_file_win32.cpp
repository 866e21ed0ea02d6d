#include "trace_file.h"

#include <windows.h>

#include <exception>
#include <string>

#include "keep_last_error.h"
#include "rolling_file.h"
#include "trace_start.h"

namespace tarnwell::zellog {

constinit std::atomic<ETraceState> s_traceState = ETraceState::kUndecided;

namespace {

std::wstring PathFromEnvironment() {
    constexpr DWORD kLongest = 32768;  // the longest value that the environment can hold
    std::wstring path(kLongest, L'\0');
    const DWORD length = GetEnvironmentVariableW(L"TARNWELL_TRACE", path.data(), kLongest);
    path.resize(length < kLongest ? length : 0);
    return path;
}

std::wstring PathFromSettings() {
    constexpr DWORD kLongest = 32768;  // units of a path
    std::wstring path(kLongest, L'\0');
    DWORD bytes = kLongest * sizeof(wchar_t);
    if (RegGetValueW(HKEY_LOCAL_MACHINE, L"Software\\Quorva", L"TraceFile", RRF_RT_REG_SZ, nullptr,
                     path.data(), &bytes) != ERROR_SUCCESS)
        return {};
    path.resize(path.find(L'\0'));
    return path;
}

/// TracePath is a full path: the program may change its current folder before the file is full.
std::wstring TracePath() noexcept try {
    std::wstring path = PathFromEnvironment();
    if (path.empty())
        path = PathFromSettings();
    const DWORD size = path.empty() ? 0 : GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring full(size, L'\0');
    full.resize(size == 0 ? 0 : GetFullPathNameW(path.c_str(), size, full.data(), nullptr));
    return full;
} catch (const std::exception&) {  // no memory, no trace
    return {};
}

static_assert(kTraceStart.size() <= CRollingFile::kStartLength);

/// Never destroyed: the last lines may come while other modules are being unloaded.
union UTraceFile {
    UTraceFile() noexcept : file(TracePath(), CRollingFile::kLimit, &IsTraceStart) {}
    ~UTraceFile() {}  // NOLINT(modernize-use-equals-default): that would be deleted
    CRollingFile file;
};

CRollingFile& File() noexcept {
    static UTraceFile trace;
    return trace.file;
}

}  // namespace

bool DecideTrace() noexcept {
    const CKeepLastError keep;
    const bool isOn = File().IsOpen();
    s_traceState.store(isOn ? ETraceState::kOn : ETraceState::kOff, std::memory_order_release);
    return isOn;
}

void WriteTrace(unsigned depth, ETraceMark mark, const char* text) noexcept {
    SYSTEMTIME now;
    GetSystemTime(&now);
    const CTraceLine line(
        {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds},
        GetCurrentProcessId(), GetCurrentThreadId(), depth, mark, text);
    static_assert(sizeof(CTraceLine) <= CRollingFile::kLongestLine);
    File().Append({line.Bytes(), line.Length()});
}

}  // namespace tarnwell::zellog
