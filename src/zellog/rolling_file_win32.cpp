#include <exception>
#include <utility>

#include "rolling_file.h"

namespace tarnwell::zellog {
namespace {

constexpr ULONGLONG kPatience = 1000;       // ms: longer than a busy machine's pauses
constexpr ULONGLONG kRotationPause = 1000;  // ms between attempts that somebody's open file spoils

/// Try calls `attempt` until it succeeds, or once without patience; most locks are free after a few
/// yields.
template <class Attempt>
bool Try(const Attempt& attempt, bool isPatient) noexcept {
    if (!isPatient)
        return attempt();
    constexpr int kYields = 30;
    const ULONGLONG end = GetTickCount64() + kPatience;
    for (int i = 0; i < kYields || GetTickCount64() < end; ++i) {
        if (attempt())
            return true;
        Sleep(i < kYields ? 0 : 1);
    }
    return false;
}

/// One thread at a time. A thread that hangs in a write, or that the process's end has killed, is
/// waited for once, not for every line.
class CTurn {
public:
    CTurn(SRWLOCK& lock, std::atomic<bool>& isPatient) noexcept
        : m_lock(lock),
          m_held(Try([&] { return TryAcquireSRWLockExclusive(&lock) != FALSE; }, isPatient)) {
        isPatient = m_held;
    }
    ~CTurn() {
        if (m_held)
            ReleaseSRWLockExclusive(&m_lock);
    }
    CTurn(const CTurn&) = delete;
    CTurn& operator=(const CTurn&) = delete;

    bool IsHeld() const noexcept { return m_held; }

private:
    SRWLOCK& m_lock;
    bool m_held;
};

/// One process at a time. Windows appends in one step by itself; where a file server or another
/// system behind the same calls looks up the end first, lines of two processes would meet there.
/// The lock lies on a byte far behind any line. A process that holds it and hangs is waited for
/// once, not for every line.
class CLineLock {
public:
    CLineLock(HANDLE file, bool& isPatient) noexcept : m_file(file) {
        bool isTaken = false;
        const auto attempt = [&] {
            OVERLAPPED place = Place();
            m_held = LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0,
                                &place) != FALSE;
            isTaken = !m_held && GetLastError() == ERROR_LOCK_VIOLATION;
            return !isTaken;  // another failure: there are no locks on this file
        };
        isPatient = Try(attempt, isPatient) && !isTaken;
    }
    ~CLineLock() {
        OVERLAPPED place = Place();
        if (m_held)
            UnlockFileEx(m_file, 0, 1, 0, &place);
    }
    CLineLock(const CLineLock&) = delete;
    CLineLock& operator=(const CLineLock&) = delete;

    bool IsHeld() const noexcept { return m_held; }

private:
    static OVERLAPPED Place() noexcept {
        OVERLAPPED place{};
        place.OffsetHigh = 0x40000000;
        return place;
    }

    HANDLE m_file;
    bool m_held = false;
};

/// IsFile tells a file from what a path may name besides: a pipe, whose reader can keep a write
/// waiting for ever, or a device, such as a whole disk.
bool IsFile(HANDLE handle) noexcept {
    BY_HANDLE_FILE_INFORMATION place{};
    return GetFileType(handle) != FILE_TYPE_PIPE && GetFileInformationByHandle(handle, &place);
}

/// IsSame tells whether two handles are of one file; where the system does not tell, they are.
bool IsSame(HANDLE a, HANDLE b) noexcept {
    BY_HANDLE_FILE_INFORMATION one{}, other{};
    return !GetFileInformationByHandle(a, &one) || !GetFileInformationByHandle(b, &other) ||
           (one.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
            one.nFileIndexHigh == other.nFileIndexHigh && one.nFileIndexLow == other.nFileIndexLow);
}

}  // namespace

CRollingFile::CRollingFile(std::wstring path, std::uint64_t limit, IsOurs isOurs) noexcept
    : m_path(std::move(path)), m_limit(limit), m_isOurs(isOurs), m_file(Open()) {}

CRollingFile::CFile CRollingFile::Open() const noexcept {
    // Append access without write access makes every write go to the end, whoever else writes; read
    // access allows the lock. Nobody who waits behind the name of a pipe may act as this user.
    CFile file(CreateFileW(
        m_path.c_str(), FILE_APPEND_DATA | FILE_GENERIC_READ,
        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
        FILE_ATTRIBUTE_NORMAL | SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION, nullptr));
    return file && IsFile(file.Get()) && !IsTaken(file.Get()) ? std::move(file) : CFile();
}

/// IsTaken tells whether a file is somebody's: named by mistake, or by somebody who may not write
/// there and has a program do it that may.
bool CRollingFile::IsTaken(HANDLE file) const noexcept {
    LARGE_INTEGER size{};
    if (!m_isOurs || (GetFileSizeEx(file, &size) && size.QuadPart == 0))
        return false;
    char start[kStartLength];
    DWORD length = 0;
    return !ReadFile(file, start, sizeof start, &length, nullptr) || !m_isOurs({start, length});
}

/// The answer depends on the file alone, not on the line: a file that is full for one writer is so
/// for all, and nobody writes to it after it has been renamed.
bool CRollingFile::IsFull() const noexcept {
    LARGE_INTEGER size{};
    return GetFileSizeEx(m_file.Get(), &size) &&
           static_cast<std::uint64_t>(size.QuadPart) + kLongestLine > m_limit;
}

/// NextFile gives the file to write to instead of the full one, whose lock the caller holds: the
/// one that another writer has put in its place, or else a new one. None if it has to stay.
CRollingFile::CFile CRollingFile::NextFile() noexcept try {
    if (GetTickCount64() < m_nextRotation)
        return {};
    CFile next = Open();
    if (next && IsSame(m_file.Get(), next.Get())) {
        next.Reset();
        if (Rotate())
            next = Open();
        else
            m_nextRotation = GetTickCount64() + kRotationPause;
    }
    return next;
} catch (const std::exception&) {  // no memory for a name
    return {};
}

/// Rotate renames the file and its old ones; true if the name is free now. A file that somebody
/// has open can be renamed and deleted but not replaced, so the oldest gets another name first.
bool CRollingFile::Rotate() const {
    const auto old = [&](int number) { return m_path + L"." + std::to_wstring(number); };
    const std::wstring doomed = old(kOldFiles) + L"." + std::to_wstring(GetCurrentProcessId());
    if (MoveFileExW(old(kOldFiles).c_str(), doomed.c_str(), MOVEFILE_REPLACE_EXISTING))
        DeleteFileW(doomed.c_str());
    for (int number = kOldFiles; number > 1; --number)
        MoveFileExW(old(number - 1).c_str(), old(number).c_str(), 0);
    return MoveFileExW(m_path.c_str(), old(1).c_str(), 0) != FALSE;
}

void CRollingFile::Write(std::string_view line) const noexcept {
    DWORD written = 0;
    WriteFile(m_file.Get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

void CRollingFile::Append(std::string_view line) noexcept {
    constexpr int kRounds = 4;  // between two of them others would have to write 10 MB
    const CTurn turn(m_turn, m_waitsForThreads);
    if (!turn.IsHeld() || !IsOpen())
        return;
    for (int round = 0;; ++round) {
        CFile next;
        {
            const CLineLock lock(m_file.Get(), m_waitsForProcesses);
            if (lock.IsHeld() && IsFull() && round < kRounds)
                next = NextFile();
            if (!next) {
                Write(line);
                return;
            }
        }
        m_file = std::move(next);
    }
}

}  // namespace tarnwell::zellog
