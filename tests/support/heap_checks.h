#pragma once

// The heap-check pass of the Windows tests validates every live block at each allocation and
// release, so a test that holds N blocks costs N * N there. A test with large N takes its size from
// here; the other passes run it in full.

#include <cstdlib>

namespace tarnwell::test {

// UnderHeapChecks tells whether this run validates the heap at each call.
inline bool UnderHeapChecks() {
    return std::getenv("TARNWELL_HEAP_CHECKS") != nullptr;
}

// Size gives full, or reduced where the heap is validated at each call.
template <typename Number>
Number Size(Number full, Number reduced) {
    return UnderHeapChecks() ? reduced : full;
}

}  // namespace tarnwell::test
