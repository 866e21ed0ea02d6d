#include "common/system/memory/secure_zones.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <stdexcept>
#include <thread>

#include "fake_zone_system.h"
#include "support/trace_listener.h"

namespace tarnwell::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Le;

const char kNoBlock[] = "SecureAllocator: there is no more block big enough";

class CSecureZonesTest : public testing::Test {
protected:
    ~CSecureZonesTest() override {
        m_zones.Close();
        EXPECT_THAT(m_system.faults, IsEmpty());
        EXPECT_TRUE(m_system.pages.empty());
        EXPECT_TRUE(m_system.heap.empty());
    }

    void* Take(std::size_t bytes) {
        void* block = m_zones.Allocate(bytes);
        std::memset(block, 0x5A, bytes);
        return block;
    }

    /// Fills the process's zone with blocks of 1,016 bytes (1,032 with the header).
    std::vector<void*> FillProcessZone() {
        std::vector<void*> blocks;
        for (int i = 0; i < 63; ++i)
            blocks.push_back(Take(1'016));
        EXPECT_EQ(m_zones.FurtherZones(), 0u);
        return blocks;
    }

    CFakeZoneSystem m_system;
    CTraceListener m_trace;
    CSecureZones m_zones{m_system};
};

TEST_F(CSecureZonesTest, AFurtherZoneIsTakenWhenTheProcesssIsFullAndGoesWithItsBlocks) {
    std::vector<void*> blocks = FillProcessZone();
    void* const further = Take(1'016);
    EXPECT_EQ(m_zones.FurtherZones(), 1u);
    EXPECT_EQ(m_system.pages.size(), 2u);
    for (const auto& [base, size] : m_system.pages)
        EXPECT_EQ(size, 65'536u);
    for (int i = 0; i < 20; ++i) {
        m_zones.Free(blocks.back());
        blocks.pop_back();
    }
    m_zones.Free(further);
    EXPECT_EQ(m_zones.FurtherZones(), 0u);
    EXPECT_EQ(m_system.pages.size(), 1u);
    EXPECT_THAT(m_trace.Lines(), IsEmpty()) << "a full zone alone is no failure";
}

TEST_F(CSecureZonesTest, AStringThatComesAndGoesAtTheEdgeDoesNotTakeAZoneEachTime) {
    std::vector<void*> blocks = FillProcessZone();
    const std::size_t before = m_system.reserved;
    for (int i = 0; i < 1'000; ++i)
        m_zones.Free(Take(1'016));
    EXPECT_EQ(m_system.reserved, before + 1);
    for (void* const block : blocks)
        m_zones.Free(block);
    EXPECT_EQ(m_zones.FurtherZones(), 0u);
    EXPECT_EQ(m_system.pages.size(), 1u);
}

TEST_F(CSecureZonesTest, ALargeRequestGetsAZoneOfItsOwnForAsLongAsItLives) {
    FillProcessZone();
    for (const std::size_t bytes : {100'000u, 1'000'000u, 20'000'000u}) {
        void* const block = Take(bytes);
        EXPECT_EQ(m_zones.FurtherZones(), 1u) << bytes;
        m_zones.Free(block);
        EXPECT_EQ(m_zones.FurtherZones(), 0u) << bytes;
    }
}

TEST_F(CSecureZonesTest, ARequestOfAboutAZonesSizeIsServed) {
    FillProcessZone();
    for (std::size_t bytes = 65'480; bytes <= 65'560; bytes += 8)
        m_zones.Free(Take(bytes));
    EXPECT_THAT(m_zones.FurtherZones(), Le(2u));
}

TEST_F(CSecureZonesTest, ManyBlocksNeedFewZonesAndLeaveNone) {
    std::vector<unsigned char*> blocks;
    for (int i = 0; i < 20'000; ++i)
        blocks.push_back(static_cast<unsigned char*>(Take(300)));
    std::size_t total = 0;
    for (const auto& [base, size] : m_system.pages)
        total += size;
    EXPECT_LE(total, 20'000u * 320 * 5 / 4);
    EXPECT_THAT(m_zones.FurtherZones(), Le(60u));
    std::mt19937 random(7);
    std::shuffle(blocks.begin(), blocks.end(), random);
    for (unsigned char* const block : blocks) {
        ASSERT_TRUE(std::all_of(block, block + 300, [](unsigned char b) { return b == 0x5A; }));
        m_zones.Free(block);
    }
    EXPECT_EQ(m_zones.FurtherZones(), 0u);
    EXPECT_EQ(m_system.pages.size(), 1u);
}

TEST_F(CSecureZonesTest, AFullZoneServesAgainOnceABlockOfItIsFree) {
    std::vector<void*> blocks = FillProcessZone();
    void* const further = Take(1'016);
    m_zones.Free(blocks[10]);
    m_zones.Free(blocks[11]);
    EXPECT_EQ(Take(1'016), blocks[10]) << "the size that it refused before";
    m_zones.Free(further);
}

TEST_F(CSecureZonesTest, BlocksAreAlignedAndZeroed) {
    for (std::size_t bytes = 0; bytes < 100; ++bytes) {
        auto* block = static_cast<unsigned char*>(m_zones.Allocate(bytes));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 8, 0u);
        EXPECT_TRUE(std::all_of(block, block + bytes, [](unsigned char b) { return b == 0; }));
        std::memset(block, 0xFF, bytes);
        if (bytes % 3 == 0)
            m_zones.Free(block);
    }
}

TEST_F(CSecureZonesTest, WithoutAFurtherZoneTheRequestFailsWithTheZonesError) {
    FillProcessZone();
    m_system.largestReserve = 0;
    m_system.largestHeap = 0;
    EXPECT_THROW(m_zones.Allocate(1'016), std::runtime_error);
    EXPECT_THAT(m_trace.Lines(), ElementsAre("SecureAllocator: Virtual allocation are failed!",
                                             "Catch failed secure allocation", kNoBlock));
    EXPECT_NE(m_zones.Allocate(100), nullptr) << "what fits is still served";
}

TEST_F(CSecureZonesTest, AFurtherZoneThatCannotBeLockedIsHeapMemoryAndWipedAlike) {
    FillProcessZone();
    m_system.lockRefusals = -1;
    void* const block = Take(1'016);
    EXPECT_EQ(m_system.heap.size(), 1u);
    EXPECT_EQ(m_system.pages.size(), 1u);
    m_zones.Free(block);
}

TEST_F(CSecureZonesTest, ASmallerZoneWillDoWhereALargeOneCannotBeHad) {
    std::vector<void*> blocks;
    while (m_system.pages.size() < 20)
        blocks.push_back(Take(1'016));
    m_system.largestReserve = 65'536;
    m_system.largestHeap = 65'536;
    const std::size_t before = m_system.pages.size();
    while (m_system.pages.size() + m_system.heap.size() == before)
        blocks.push_back(Take(1'016));
    EXPECT_EQ(m_system.pages.size(), before + 1);
}

TEST_F(CSecureZonesTest, ImpossibleSizesFailWithTheZonesError) {
    for (const std::size_t bytes :
         {SIZE_MAX, SIZE_MAX - 7, SIZE_MAX - 50, std::size_t{1} << 40, std::size_t{0x80000000},
          std::size_t{0x7FFFFFFF}, std::size_t{0x7FFFFFFF - 16}}) {
        m_trace.Clear();
        EXPECT_THROW(m_zones.Allocate(bytes), std::runtime_error) << bytes;
        EXPECT_THAT(m_trace.Lines(), ElementsAre(kNoBlock));
    }
    EXPECT_EQ(m_zones.FurtherZones(), 0u);
}

TEST_F(CSecureZonesTest, AfterTheEndReleasesAreIgnoredAndRequestsFail) {
    void* const block = Take(100);
    m_zones.Free(nullptr);
    m_zones.Close();
    EXPECT_TRUE(m_system.pages.empty());
    m_zones.Free(block);
    EXPECT_THROW(m_zones.Allocate(1), std::runtime_error);
    m_zones.Close();
}

TEST(CSecureZonesStartTest, WithoutMemoryAtTheStartTheZonesRecoverLater) {
    CFakeZoneSystem system;
    CTraceListener trace;
    system.largestReserve = 0;
    system.largestHeap = 0;
    CSecureZones zones(system);
    EXPECT_THROW(zones.Allocate(1), std::runtime_error);
    system.largestReserve = SIZE_MAX;
    void* const block = zones.Allocate(1);
    EXPECT_EQ(zones.FurtherZones(), 1u);
    zones.Free(block);
    EXPECT_EQ(zones.FurtherZones(), 0u);
}

TEST(CSecureZonesThreadTest, ThreadsDoNotDisturbEachOther) {
    CSecureZones zones(OsZoneSystem());
    std::vector<std::thread> threads;
    for (unsigned char id = 1; id <= 4; ++id) {
        threads.emplace_back([&zones, id] {
            std::mt19937 random(id);
            std::vector<std::pair<unsigned char*, std::size_t>> held;
            for (int i = 0; i < 5'000; ++i) {
                if (held.size() < 200 && random() % 2) {
                    const std::size_t bytes = random() % 600;
                    auto* block = static_cast<unsigned char*>(zones.Allocate(bytes));
                    std::memset(block, id, bytes);
                    held.emplace_back(block, bytes);
                } else if (!held.empty()) {
                    std::swap(held[random() % held.size()], held.back());
                    const auto [block, bytes] = held.back();
                    held.pop_back();
                    for (std::size_t b = 0; b < bytes; ++b)
                        ASSERT_EQ(block[b], id);
                    zones.Free(block);
                }
            }
            for (const auto& [block, bytes] : held)
                zones.Free(block);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(zones.FurtherZones(), 0u);
}

}  // namespace
}  // namespace tarnwell::test
