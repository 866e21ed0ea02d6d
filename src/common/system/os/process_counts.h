#pragma once

// What this process holds, to find what it never gives back: count after a warm-up and again after
// many more rounds. Windows only.

#include <cstdint>

namespace tarnwell {

struct ProcessCounts {
    std::uint64_t heapBytes = 0;  ///< in use, over all heaps
    std::uint64_t heapBlocks = 0;
    std::uint64_t committedBytes = 0;  ///< private memory: heaps, locked zones, stacks
    std::uint64_t handles = 0;         ///< of every kind; 0 where the system does not tell
    std::uint64_t gdiObjects = 0;      ///< 0 where the system does not tell
};

/// CountProcess takes its time: it walks every heap, and locks it meanwhile. Other threads at work
/// blur the counts. Throws std::bad_alloc.
ProcessCounts CountProcess();

}  // namespace tarnwell
