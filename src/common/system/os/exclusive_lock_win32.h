#pragma once

// A lock for what several threads share. It holds no resource of the system, so that it may be a
// member of a static object in a DLL that comes and goes.

#include "common/system/os/windows.h"

namespace tarnwell {

class CExclusiveLock {
public:
    CExclusiveLock() noexcept = default;
    CExclusiveLock(const CExclusiveLock&) = delete;
    CExclusiveLock& operator=(const CExclusiveLock&) = delete;

private:
    friend class CExclusiveHold;
    SRWLOCK m_lock = SRWLOCK_INIT;
};

/// Holds a lock for as long as it lives; a thread that holds it must not ask for it again.
class CExclusiveHold {
public:
    explicit CExclusiveHold(CExclusiveLock& lock) noexcept : m_lock(lock.m_lock) {
        AcquireSRWLockExclusive(&m_lock);
    }
    ~CExclusiveHold() { ReleaseSRWLockExclusive(&m_lock); }
    CExclusiveHold(const CExclusiveHold&) = delete;
    CExclusiveHold& operator=(const CExclusiveHold&) = delete;

private:
    SRWLOCK& m_lock;
};

}  // namespace tarnwell
