#pragma once

// What this process holds, to find what is never given back: take the counts after a warm-up and
// again after many more rounds.

#include <cstddef>

namespace tarnwell::test {

/// OpenHandleCount counts the handles of this process over all their kinds. Throws
/// std::runtime_error when the system does not tell.
std::size_t OpenHandleCount();

/// HeapBytes adds up the blocks in use in all heaps of this process. Nothing else of the process
/// may use a heap meanwhile.
std::size_t HeapBytes();

}  // namespace tarnwell::test
