#pragma once

// What the compiler's libraries take from the process for this DLL and leave behind when it goes:
// the thread library a slot of thread-local storage, and from every thread a record with two
// handles; the C++ library a reserve of 72 kilobytes for exceptions. A process has 1,088 slots: an
// explorer that loads and unloads the DLL as often would be aborted. Only DllMain uses this.

#include "common/system/os/windows.h"

namespace tarnwell {

/// Gives back, when it goes, what the libraries took, but for the records of the other threads,
/// which nobody can reach. Made when the DLL is attached, before anything that uses threads or
/// exceptions in its destructor.
class CLibraryLeavings {
public:
    explicit CLibraryLeavings(HINSTANCE instance) noexcept : m_instance(instance) {}
    ~CLibraryLeavings();

    CLibraryLeavings(const CLibraryLeavings&) = delete;
    CLibraryLeavings& operator=(const CLibraryLeavings&) = delete;

private:
    HINSTANCE m_instance;
};

}  // namespace tarnwell
