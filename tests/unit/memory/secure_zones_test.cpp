#include "common/system/memory/secure_zones.h"

#include <gmock/gmock.h>

#include <cstring>
#include <thread>

#include "common/system/memory/secure_memory.h"
#include "fake_zone_system.h"
#include "support/trace_listener.h"

namespace tarnwell::test {
namespace {

using testing::ElementsAre;

const char kNoBlock[] = "SecureAllocator: there is no more block big enough";

class CSecureZonesTest : public testing::Test {
protected:
    unsigned char* Take(std::size_t bytes) {
        auto* const block = static_cast<unsigned char*>(m_zones.Allocate(bytes));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 8, 0u);
        EXPECT_EQ(std::count(block, block + bytes, 0), static_cast<std::ptrdiff_t>(bytes));
        std::memset(block, 0x5A, bytes);
        return block;
    }
    std::vector<unsigned char*> Take(int count, std::size_t bytes) {
        std::vector<unsigned char*> blocks;
        while (count-- > 0)
            blocks.push_back(Take(bytes));
        return blocks;
    }

    CFakeZoneSystem m_system;
    CTraceListener m_trace;
    CSecureZones m_zones{m_system};
    // The process's zone is full for blocks of this size (1,032 bytes with the header).
    std::vector<unsigned char*> m_full = Take(63, 1'016);
};

TEST_F(CSecureZonesTest, AFurtherZoneIsTakenOnceAndGoesWithItsBlocks) {
    EXPECT_EQ(m_zones.FurtherZones(), 0u);
    for (int i = 0; i < 1'000; ++i)
        m_zones.Free(Take(1'016));
    EXPECT_EQ(m_system.taken, 2) << "for a string that comes and goes at the edge";
    for (const auto& [base, bytes] : m_system.pages)
        EXPECT_EQ(bytes.size(), 65'536u);
    for (void* const block : m_full)
        m_zones.Free(block);
    EXPECT_EQ(m_zones.FurtherZones(), 0u);
    EXPECT_THAT(m_trace.Lines(), ElementsAre()) << "a full zone alone is no failure";
}

TEST_F(CSecureZonesTest, ALargeRequestGetsAZoneOfItsOwnForAsLongAsItLives) {
    for (const std::size_t bytes : {65'480u, 65'512u, 65'520u, 65'536u, 2'000'000u})
        m_zones.Free(Take(bytes));
    EXPECT_EQ(m_zones.FurtherZones(), 0u);
}

TEST_F(CSecureZonesTest, ManyBlocksNeedFewZonesAndLeaveNone) {
    const std::vector<unsigned char*> blocks = Take(20'000, 300);
    EXPECT_LE(m_zones.FurtherZones(), 60u);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        unsigned char* const block = blocks[i * 7'919 % blocks.size()];
        ASSERT_EQ(std::count(block, block + 300, 0x5A), 300);
        m_zones.Free(block);
    }
    EXPECT_LE(m_zones.FurtherZones(), 1u);
    for (void* const block : m_full)
        m_zones.Free(block);
    EXPECT_EQ(m_system.pages.size(), 1u);
}

TEST_F(CSecureZonesTest, AFullZoneServesAgainOnceABlockOfItIsFree) {
    Take(1'016);
    m_zones.Free(m_full[10]);
    m_zones.Free(m_full[11]);
    // Which zone lies lower and is asked first is the system's choice.
    bool again = false;
    while (!again && m_system.taken == 2)
        again = Take(1'016) == m_full[10];
    EXPECT_TRUE(again) << "the size that it refused before";
}

TEST_F(CSecureZonesTest, ASmallerFurtherZoneWillDoAndWithoutAnyTheRequestFails) {
    Take(400, 1'016);
    m_system.largestReserve = m_system.largestHeap = 65'536;
    for (const std::size_t before = m_system.pages.size(); m_system.pages.size() == before;)
        Take(1'016);
    m_system.largestReserve = m_system.largestHeap = 0;
    m_trace.Clear();
    EXPECT_THROW(Take(400, 1'016), std::runtime_error);
    EXPECT_EQ(m_trace.Lines().back(), kNoBlock);
    Take(100);  // what fits is still served
}

TEST_F(CSecureZonesTest, WhatNoZoneCanServeFailsAndAfterTheEndReleasesAreIgnored) {
    for (const std::size_t bytes : {SIZE_MAX, SIZE_MAX - 7, std::size_t{0x7FFFFFFF}}) {
        m_trace.Clear();
        EXPECT_THROW(m_zones.Allocate(bytes), std::runtime_error) << bytes;
        EXPECT_THAT(m_trace.Lines(), ElementsAre(kNoBlock));
    }
    m_zones.Free(nullptr);
    m_zones.Close();
    m_zones.Free(m_full[0]);
    EXPECT_THROW(m_zones.Allocate(1), std::runtime_error);
}

TEST(CSecureZonesStartTest, WithoutMemoryAtTheStartTheZonesRecoverLater) {
    CFakeZoneSystem system;
    system.largestReserve = system.largestHeap = 0;
    CSecureZones zones(system);
    EXPECT_THROW(zones.Allocate(1), std::runtime_error);
    system.largestReserve = SIZE_MAX;
    zones.Free(zones.Allocate(1));
    EXPECT_EQ(zones.FurtherZones(), 0u);
}

// Runs before main and before the statics of most other files: the process's zone must be there.
void* const s_early = SecureAllocate(100);

TEST(SecureMemoryTest, ServesStaticObjectsAndCountsUnitsWithoutOverflow) {
    std::memset(s_early, 1, 100);
    SecureFree(std::memset(SecureAllocate32(1'000), 1, 4'000));
    for (const std::size_t count : {SIZE_MAX, SIZE_MAX / 4, SIZE_MAX / 4 + 1, SIZE_MAX / 2})
        EXPECT_THROW(SecureAllocate32(count), std::runtime_error) << count;
}

TEST(SecureMemoryTest, ThreadsDoNotDisturbEachOther) {
    std::vector<std::thread> threads;
    for (unsigned char id = 1; id <= 4; ++id) {
        threads.emplace_back([id] {
            std::vector<unsigned char*> ring(200);
            for (std::size_t i = 0; i < 5'200; ++i) {
                unsigned char*& block = ring[i % ring.size()];
                ASSERT_TRUE(!block || std::count(block, block + 500, id) == 500);
                SecureFree(block);
                block = static_cast<unsigned char*>(i < 5'000 ? SecureAllocate(500) : nullptr);
                if (block)
                    std::memset(block, id, 500);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

}  // namespace
}  // namespace tarnwell::test
