#include "common/crypto/heap_sort.h"

#include <algorithm>

namespace tarnwell {

void HeapSort(void* base, std::size_t count, std::size_t size,
              int (*compare)(const void*, const void*)) {
    auto* const bytes = static_cast<unsigned char*>(base);
    const auto at = [&](std::size_t i) { return bytes + i * size; };
    const auto swap = [&](std::size_t a, std::size_t b) {
        std::swap_ranges(at(a), at(a) + size, at(b));
    };
    // Lets the element sink below those of the heap's first `end` that come after it.
    const auto sink = [&](std::size_t top, std::size_t end) {
        for (std::size_t child; (child = 2 * top + 1) < end; top = child) {
            if (child + 1 < end && compare(at(child), at(child + 1)) < 0)
                ++child;
            if (compare(at(top), at(child)) >= 0)
                return;
            swap(top, child);
        }
    };
    for (std::size_t top = count / 2; top-- > 0;)
        sink(top, count);
    for (std::size_t end = count; end > 1;) {
        swap(0, --end);
        sink(0, end);
    }
}

}  // namespace tarnwell
