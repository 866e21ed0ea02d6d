#pragma once

// What this process holds, counted.

#include <cstdint>

namespace tarnwell::shellprobe {

struct ProcessCounts {
    std::uint64_t heapBytes = 0;  ///< in use, over all heaps
    std::uint64_t heapBlocks = 0;
    std::uint64_t committedBytes = 0;  ///< private memory: heaps, locked zones, stacks
    std::uint64_t handles = 0;
    std::uint64_t gdiObjects = 0;
};

/// CountProcess takes its time (it walks every heap) and wants no other thread at work.
ProcessCounts CountProcess();

}  // namespace tarnwell::shellprobe
