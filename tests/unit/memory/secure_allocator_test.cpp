#include "common/system/memory/secure_allocator.h"

#include <gmock/gmock.h>

#include <cstring>
#include <random>

#include "fake_zone_system.h"
#include "support/trace_listener.h"
#include "zone_walk.h"

namespace tarnwell::test {
namespace {

using testing::ElementsAre;

class CSecureAllocatorTest : public testing::Test {
protected:
    CFakeZoneSystem m_system;
    CTraceListener m_trace;
    CSecureAllocator m_zone{65'536, m_system};
    std::vector<WalkedBlock> m_blocks;
};

TEST_F(CSecureAllocatorTest, ClassesDivideEachPowerOfTwoIntoSixteen) {
    const std::pair<std::size_t, std::size_t> kCases[] = {
        {16, 0},  {31, 15},  {32, 16},      {33, 16},      {34, 17},         {67, 32},
        {68, 33}, {127, 47}, {65'535, 191}, {65'536, 192}, {0x7FFFFFFF, 431}};
    for (const auto& [size, sizeClass] : kCases)
        EXPECT_EQ(CSecureAllocator::ClassOf(size), sizeClass) << size;
}

TEST_F(CSecureAllocatorTest, ABlockOfExactlyTheNeededSizeIsPassedOverAndAnImpossibleOneRefused) {
    const char kNoBlock[] = "SecureAllocator: there is no more block big enough";
    EXPECT_THAT([&] { m_zone.allocate(65'520); },
                testing::ThrowsMessage<std::runtime_error>(kNoBlock));
    EXPECT_THAT(m_trace.Lines(), ElementsAre(kNoBlock));
    for (const std::size_t bytes : {SIZE_MAX, SIZE_MAX - 15, std::size_t{0x7FFFFFFF}})
        EXPECT_EQ(m_zone.TryAllocate(bytes), nullptr) << bytes;
    EXPECT_NE(m_zone.TryAllocate(65'519), nullptr);
    for (const std::size_t size : {0u, 23u, 0x80000000u})
        EXPECT_THROW(CSecureAllocator(size, m_system), std::invalid_argument) << size;
}

TEST_F(CSecureAllocatorTest, TheLastFreedBlockOfAClassIsReusedFirstAndASecondReleaseIsIgnored) {
    std::vector<void*> blocks(6);
    for (void*& block : blocks)
        block = m_zone.allocate(1000);
    for (const std::size_t freed : {0u, 4u, 2u, 0u})
        m_zone.free(blocks[freed]);
    for (const std::size_t reused : {2u, 4u, 0u})
        EXPECT_EQ(m_zone.allocate(900), blocks[reused]);
}

TEST_F(CSecureAllocatorTest, TheZoneIsLockedOrTakenFromTheHeapAndGoesBackWiped) {
    const std::string name = "SecureAllocator: ";
    const std::string lock =
        name + "Virtual lock are failed! Last error = 1453, minimum working set = ";
    const std::string set =
        name + "SetProcessWorkingSetSize are failed! Last error = 1453, minimum working set = ";
    const struct {
        int refusals;           // of the lock
        std::size_t minimum;    // of the working set at first
        std::size_t doublings;  // that the system was asked for
        bool noRaise, noPages;  // what else the system refuses
        std::string error;
    } kCases[] = {
        {0, 204'800, 0, false, false, ""},
        {6, 204'800, 6, false, false, ""},
        {-1, 204'800, 6, false, false, lock + "13107200"},
        {-1, 10'000'000, 0, false, false, lock + "10000000"},
        {-1, 9'999'999, 1, false, false, lock + "19999998"},
        {-1, 0, 0, false, false, lock + "0"},
        {-1, 204'800, 1, true, false, set + "409600"},
        {0, 204'800, 0, false, true, name + "Virtual allocation are failed!"},
    };
    for (const auto& each : kCases) {
        SCOPED_TRACE(each.error + " after " + std::to_string(each.doublings));
        CFakeZoneSystem system;
        system.lockRefusals = each.refusals;
        system.workingSet = {each.minimum, 3 * each.minimum};
        system.refusesWorkingSet = each.noRaise;
        system.largestReserve = each.noPages ? 0 : SIZE_MAX;
        m_trace.Clear();
        CSecureAllocator zone(65'536, system);
        EXPECT_EQ(zone.IsFallback(), !each.error.empty());
        EXPECT_EQ(system.pages.size(), zone.IsFallback() ? 0u : 1u) << "nothing stays reserved";
        if (zone.IsFallback()) {
            EXPECT_THAT(m_trace.Lines(), ElementsAre(each.error, "Catch failed secure allocation"));
        }
        ASSERT_EQ(system.workingSetsAsked.size(), each.doublings);
        for (std::size_t i = 0; i < each.doublings; ++i) {
            EXPECT_EQ(system.workingSetsAsked[i].minimum, each.minimum << (i + 1));
            EXPECT_EQ(system.workingSetsAsked[i].maximum, 3 * each.minimum << (i + 1));
        }
        std::memset(zone.allocate(5000), 0x5A, 5000);
        EXPECT_STREQ(FaultOf(zone, m_blocks), "");
    }
}

// --- The model -------------------------------------------------------------------------------

struct Held {
    unsigned char* data;
    std::ptrdiff_t bytes;
    unsigned char fill;

    bool HoldsOnly(unsigned char value) const {
        return std::count(data, data + bytes, value) == bytes;
    }
};

// Each step is checked against what the zone's own blocks say must happen: which requests can be
// served, from which class, and that nothing else moves.
TEST_F(CSecureAllocatorTest, RandomStepsKeepTheZoneInOrder) {
    std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same steps in each run
    std::vector<Held> held;
    int served = 0;
    int refused = 0;
    for (int round = 0; round < 100'000; ++round) {
        ASSERT_STREQ(FaultOf(m_zone, m_blocks, round % 64 == 0), "") << round;
        // The target swings, so that the zone is by turns nearly empty and full to refusal.
        const bool filling = (round / 4000) % 2 == 0;
        if (!held.empty() && random() % 100 < (filling ? 40u : 60u)) {
            std::swap(held[random() % held.size()], held.back());
            ASSERT_TRUE(held.back().HoldsOnly(held.back().fill)) << "overwritten: " << round;
            m_zone.free(held.back().data);
            held.pop_back();
            continue;
        }
        // Mostly small, now and then as large as the zone.
        const std::size_t bytes = random() % (16u << std::min(random() % 13, random() % 13));
        const std::size_t needed = std::max<std::size_t>(bytes + 16, 24);
        // The lowest higher class comes first, the own one last.
        const auto rank = [&](std::size_t size) {
            const std::size_t sizeClass = CSecureAllocator::ClassOf(size);
            return sizeClass == CSecureAllocator::ClassOf(needed) ? SIZE_MAX - 1 : sizeClass;
        };
        std::size_t best = SIZE_MAX;
        for (const WalkedBlock& block : m_blocks)
            if (!block.used && block.size > needed)
                best = std::min(best, rank(block.size));
        const std::size_t usedBefore = m_zone.UsedBytes();
        auto* const data = static_cast<unsigned char*>(m_zone.TryAllocate(bytes));
        ASSERT_EQ(data == nullptr, best == SIZE_MAX) << round << ": " << bytes;
        ++(data ? served : refused);
        if (!data)
            continue;
        const auto taken = std::ranges::find(
            m_blocks, reinterpret_cast<const SecureBlock*>(data - 16), &WalkedBlock::address);
        ASSERT_TRUE(taken != m_blocks.end() && !taken->used && taken->size >= needed) << round;
        ASSERT_EQ(rank(taken->size), best) << round;
        const bool leavesBlock = taken->size - needed >= 24;
        ASSERT_EQ(m_zone.UsedBytes() - usedBefore, leavesBlock ? needed : taken->size) << round;
        held.push_back({data, std::ptrdiff_t(bytes), static_cast<unsigned char>(random() | 1)});
        ASSERT_TRUE(held.back().HoldsOnly(0)) << round;
        std::memset(data, held.back().fill, bytes);
    }
    EXPECT_GT(served, 25'000);
    EXPECT_GT(refused, 100) << "the zone was never full";
    for (const Held& block : held)
        m_zone.free(block.data);
    EXPECT_STREQ(FaultOf(m_zone, m_blocks), "");
    EXPECT_EQ(m_blocks.size(), 1u);
}

}  // namespace
}  // namespace tarnwell::test
