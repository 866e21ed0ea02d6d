#pragma once

// Does something many times and looks whether the process is left with more than before. Windows
// only. Runs with every heap call checked are left out: such a heap keeps released blocks a while.

#include <gtest/gtest.h>

#include "common/system/os/process_counts.h"
#include "support/heap_checks.h"

namespace tarnwell::test {

/// ExpectNoGrowth calls `round` for warming up and then as often as `rounds` says; what is lost in
/// each of those shows in the counts.
template <class Round>
void ExpectNoGrowth(int warmUp, int rounds, const Round& round) {
    if (UnderHeapChecks())
        return;
    const auto countAfter = [&](int count) {
        for (int i = 0; i < count; ++i)
            round();
        return CountProcess();
    };
    countAfter(warmUp);
    const ProcessCounts before = countAfter(1);  // counting itself has warmed up, too
    const ProcessCounts after = countAfter(rounds);
    EXPECT_LT(after.heapBytes, before.heapBytes + 1024);
    EXPECT_EQ(after.gdiObjects, before.gdiObjects);
    EXPECT_EQ(after.handles, before.handles);
    EXPECT_NE(after.handles, 0u) << "nothing is counted here";
}

}  // namespace tarnwell::test
