#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "common/crypto/heap_sort.h"

namespace tarnwell {
namespace {

/// Decides the order of numbers while they are being sorted, always so that the last one compared
/// tells a quicksort least. Counts what it was asked.
struct Adversary {
    static constexpr int kOpen = 4000;
    static inline std::vector<int> ranks;
    static inline int decided, candidate, calls;

    static int Compare(const void* left, const void* right) {
        const int a = *static_cast<const int*>(left);
        const int b = *static_cast<const int*>(right);
        ++calls;
        if (ranks[a] == kOpen && ranks[b] == kOpen)
            ranks[a == candidate ? a : b] = decided++;
        if (ranks[a] == kOpen)
            candidate = a;
        else if (ranks[b] == kOpen)
            candidate = b;
        return ranks[a] - ranks[b];
    }
};

// On Windows OpenSSL's qsort is this program's too.
TEST(HeapSort, NoOrderTakesLongAndOpenSslHasNoOtherSort) {
    for (const auto sort : {&HeapSort, static_cast<decltype(&HeapSort)>(&std::qsort)}) {
        Adversary::ranks.assign(Adversary::kOpen, Adversary::kOpen);
        Adversary::decided = Adversary::candidate = Adversary::calls = 0;
        std::vector<int> items(Adversary::kOpen);
        for (int i = 0; i < Adversary::kOpen; ++i)
            items[i] = i;
        sort(items.data(), items.size(), sizeof items[0], Adversary::Compare);
        EXPECT_LT(Adversary::calls, 2 * 12 * Adversary::kOpen);
        EXPECT_TRUE(std::is_sorted(items.begin(), items.end(), [](int a, int b) {
            return Adversary::ranks[a] < Adversary::ranks[b];
        }));
    }
}

}  // namespace
}  // namespace tarnwell
