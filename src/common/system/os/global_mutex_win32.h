#pragma once

// A mutex with a name of the maker's own, by which its programs take turns across processes and
// threads alike. Where the system refuses it, work goes on unserialised rather than not at all.

#include "common/system/os/owners_win32.h"

namespace tarnwell {

/// The names lock and unlock make it fit for std::lock_guard. Lock and unlock belong to one
/// thread; a mutex that its owner's end left behind is simply the next one's.
class CGlobalMutex {
public:
    /// Opens the mutex of this name, made if need be, and does not lock it. `name` is the part
    /// that tells the maker's mutexes apart and holds no "\". A failure is traced.
    explicit CGlobalMutex(const CUTF16String& name) noexcept;

    bool IsOpen() const noexcept { return static_cast<bool>(m_mutex); }

    /// lock waits without limit; the thread that holds the mutex may lock it again.
    void lock() const noexcept;

    /// unlock ends one lock of the calling thread.
    void unlock() const noexcept;

    /// Close gives the mutex back; from then on lock and unlock do nothing.
    void Close() noexcept { m_mutex.Reset(); }

private:
    CUniqueHandle m_mutex;
};

}  // namespace tarnwell
