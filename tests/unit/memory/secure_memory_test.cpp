#include "common/system/memory/secure_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace tarnwell::test {
namespace {

// Runs before main and before the statics of most other files: the zone must be there.
void* const s_early = SecureAllocate(100);

TEST(SecureMemoryTest, ServesStaticObjects) {
    ASSERT_NE(s_early, nullptr);
    std::memset(s_early, 1, 100);
}

TEST(SecureMemoryTest, UnitsOf32BitsAreCountedWithoutOverflow) {
    auto* units = static_cast<std::uint32_t*>(SecureAllocate32(1'000));
    std::fill_n(units, 1'000, 0xFFFFFFFFu);
    SecureFree(units);
    for (const std::size_t count : {SIZE_MAX, SIZE_MAX / 4, SIZE_MAX / 4 + 1, SIZE_MAX / 2})
        EXPECT_THROW(SecureAllocate32(count), std::runtime_error) << count;
}

TEST(SecureMemoryTest, AReleasedBlockReadsAsZero) {
    auto* block = static_cast<unsigned char*>(SecureAllocate(500));
    std::memset(block, 0x5A, 500);
    volatile const unsigned char* after = block;
    SecureFree(block);
    SecureFree(nullptr);
    // The first eight bytes may hold the link of a free list.
    for (int i = 8; i < 500; ++i)
        ASSERT_EQ(after[i], 0) << i;
}

}  // namespace
}  // namespace tarnwell::test
