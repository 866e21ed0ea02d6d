#include "common/system/memory/secure_allocator.h"

#include <gmock/gmock.h>

#include <cstring>
#include <stdexcept>

#include "fake_zone_system.h"
#include "support/trace_listener.h"
#include "zone_walk.h"

namespace tarnwell::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CSecureAllocatorTest : public testing::Test {
protected:
    ~CSecureAllocatorTest() override { EXPECT_THAT(m_system.faults, IsEmpty()); }

    /// Sizes of the zone's blocks in order; used ones are negative.
    static std::vector<long> Blocks(const CSecureAllocator& zone) {
        std::string fault;
        std::vector<WalkedBlock> walked;
        EXPECT_TRUE(WalkZone(zone, walked, fault, true)) << fault;
        std::vector<long> sizes;
        for (const WalkedBlock& block : walked)
            sizes.push_back(block.used ? -static_cast<long>(block.size)
                                       : static_cast<long>(block.size));
        return sizes;
    }

    CFakeZoneSystem m_system;
    CTraceListener m_trace;
};

TEST_F(CSecureAllocatorTest, ClassesDivideEachPowerOfTwoIntoSixteen) {
    const struct {
        std::size_t size;
        std::size_t sizeClass;
    } kCases[] = {{16, 0},       {17, 1},       {24, 8},         {31, 15},         {32, 16},
                  {33, 16},      {34, 17},      {63, 31},        {64, 32},         {67, 32},
                  {68, 33},      {127, 47},     {128, 48},       {520, 80},        {544, 81},
                  {65'535, 191}, {65'536, 192}, {1u << 30, 416}, {0x7FFFFFFF, 431}};
    for (const auto& [size, sizeClass] : kCases)
        EXPECT_EQ(CSecureAllocator::ClassOf(size), sizeClass) << size;
    for (std::size_t size = 16; size < 10'000; ++size)
        ASSERT_EQ(CSecureAllocator::ClassOf(size), ClassByDefinition(size)) << size;
}

TEST_F(CSecureAllocatorTest, TheSmallestBlockHas24Bytes) {
    for (const std::size_t bytes : {0, 1, 8}) {
        CSecureAllocator zone(65'536, m_system);
        zone.allocate(bytes);
        EXPECT_THAT(Blocks(zone), ElementsAre(-24, 65'512)) << bytes;
    }
}

TEST_F(CSecureAllocatorTest, ABlockOfExactlyTheNeededSizeIsPassedOver) {
    CSecureAllocator zone(65'536, m_system);
    EXPECT_THROW(
        {
            try {
                zone.allocate(65'520);
            } catch (const std::runtime_error& error) {
                EXPECT_STREQ(error.what(), "SecureAllocator: there is no more block big enough");
                throw;
            }
        },
        std::runtime_error);
    EXPECT_THAT(m_trace.Lines(), ElementsAre("SecureAllocator: there is no more block big enough"));
    EXPECT_NE(zone.TryAllocate(65'519), nullptr);
    EXPECT_EQ(m_trace.Lines().size(), 1u);
}

TEST_F(CSecureAllocatorTest, ARestIsSplitOffFrom24BytesOn) {
    CSecureAllocator large(65'536, m_system);
    large.allocate(65'000);
    EXPECT_THAT(Blocks(large), ElementsAre(-65'016, 520));
    CSecureAllocator split(100, m_system);
    split.allocate(60);
    EXPECT_THAT(Blocks(split), ElementsAre(-76, 24));
    CSecureAllocator whole(100, m_system);
    whole.allocate(61);
    EXPECT_THAT(Blocks(whole), ElementsAre(-100));
}

TEST_F(CSecureAllocatorTest, FreedNeighboursBecomeOneBlockInEitherOrder) {
    for (const bool leftFirst : {true, false}) {
        CSecureAllocator zone(65'536, m_system);
        void* const left = zone.allocate(100);
        void* const right = zone.allocate(200);
        void* const guard = zone.allocate(300);
        zone.free(leftFirst ? left : right);
        zone.free(leftFirst ? right : left);
        EXPECT_THAT(Blocks(zone), ElementsAre(332, -316, 64'888));
        zone.free(guard);
        EXPECT_THAT(Blocks(zone), ElementsAre(65'536));
    }
}

TEST_F(CSecureAllocatorTest, ABlockBetweenFreeOnesJoinsBoth) {
    CSecureAllocator zone(65'536, m_system);
    void* const a = zone.allocate(100);
    void* const b = zone.allocate(100);
    void* const c = zone.allocate(100);
    zone.allocate(100);
    zone.free(a);
    zone.free(c);
    EXPECT_THAT(Blocks(zone), ElementsAre(116, -116, 116, -116, 65'072));
    zone.free(b);
    EXPECT_THAT(Blocks(zone), ElementsAre(348, -116, 65'072));
}

TEST_F(CSecureAllocatorTest, TheLastFreedBlockOfAClassIsReusedFirst) {
    CSecureAllocator zone(65'536, m_system);
    std::vector<void*> blocks;
    for (int i = 0; i < 6; ++i)
        blocks.push_back(zone.allocate(1000));
    for (const std::size_t freed : {0u, 4u, 2u})
        zone.free(blocks[freed]);
    EXPECT_EQ(zone.allocate(900), blocks[2]);
    EXPECT_EQ(zone.allocate(900), blocks[4]);
    EXPECT_EQ(zone.allocate(900), blocks[0]);
}

TEST_F(CSecureAllocatorTest, TheOwnClassServesOnlyWhenNoHigherOneCan) {
    // Sizes 1024 to 1087 share a class.
    CSecureAllocator zone(3 * 1040 + 24, m_system);
    void* const first = zone.allocate(1024);
    zone.allocate(1024);
    ASSERT_NE(zone.TryAllocate(1024), nullptr);
    zone.free(first);
    EXPECT_EQ(zone.TryAllocate(1024), nullptr) << "a block of exactly 1040 bytes";
    EXPECT_EQ(zone.TryAllocate(1023), first) << "1040 is strictly more than 1039";
}

TEST_F(CSecureAllocatorTest, MemoryReadsAsZeroAfterAReleaseAndBeforeUse) {
    CSecureAllocator zone(65'536, m_system);
    void* const secret = zone.allocate(1000);
    zone.allocate(10);
    std::memset(secret, 0x5A, 1000);
    zone.free(secret);
    const std::string zeros(1000, '\0');
    EXPECT_EQ(std::memcmp(secret, zeros.data(), 1000), 0);
    void* const again = zone.allocate(900);
    ASSERT_EQ(again, secret);
    EXPECT_EQ(std::memcmp(again, zeros.data(), 900), 0) << "the list's link is wiped too";
}

TEST_F(CSecureAllocatorTest, ASecondReleaseOfTheSameBlockIsIgnored) {
    CSecureAllocator zone(65'536, m_system);
    void* const block = zone.allocate(100);
    zone.allocate(100);
    zone.free(block);
    zone.free(block);
    EXPECT_THAT(Blocks(zone), ElementsAre(116, -116, 65'304));
}

TEST_F(CSecureAllocatorTest, SizesThatWouldOverflowAreRefused) {
    CSecureAllocator zone(65'536, m_system);
    for (const std::size_t bytes :
         {SIZE_MAX, SIZE_MAX - 15, SIZE_MAX - 16, std::size_t{1} << 63, std::size_t{0x80000000},
          std::size_t{0x7FFFFFFF}, std::size_t{65'536}})
        EXPECT_EQ(zone.TryAllocate(bytes), nullptr) << bytes;
    EXPECT_THAT(Blocks(zone), ElementsAre(65'536));
    for (const std::size_t size : {std::size_t{0}, std::size_t{23}, std::size_t{0x80000000}})
        EXPECT_THROW(CSecureAllocator(size, m_system), std::invalid_argument) << size;
}

TEST_F(CSecureAllocatorTest, AZoneGoesBackWipedEvenWithBlocksInUse) {
    for (const bool locked : {true, false}) {
        m_system.lockRefusals = locked ? 0 : -1;
        {
            CSecureAllocator zone(65'536, m_system);
            EXPECT_EQ(zone.IsFallback(), !locked);
            std::memset(zone.allocate(5000), 0x5A, 5000);
        }
        EXPECT_TRUE(m_system.pages.empty());
        EXPECT_TRUE(m_system.heap.empty());
    }
}

// --- Locking ---------------------------------------------------------------------------------

struct LockCase {
    const char* name;
    int refusals;
    WorkingSet start;
    bool refusesWorkingSet;
    std::size_t largestReserve;
    std::vector<std::size_t> asked;  // minimum working sets that the system was asked for
    std::vector<std::string> trace;
};

const char kCaught[] = "Catch failed secure allocation";

const LockCase kLockCases[] = {
    {"LocksAtOnce", 0, {204'800, 1'413'120}, false, SIZE_MAX, {}, {}},
    {"LocksAfterOneDoubling", 1, {204'800, 1'413'120}, false, SIZE_MAX, {409'600}, {}},
    {"LocksAtTheLastChance",
     6,
     {204'800, 1'413'120},
     false,
     SIZE_MAX,
     {409'600, 819'200, 1'638'400, 3'276'800, 6'553'600, 13'107'200},
     {}},
    {"IsNeverLocked",
     -1,
     {204'800, 1'413'120},
     false,
     SIZE_MAX,
     {409'600, 819'200, 1'638'400, 3'276'800, 6'553'600, 13'107'200},
     {"SecureAllocator: Virtual lock are failed! Last error = 1453, minimum working set = 13107200",
      kCaught}},
    {"HasEnoughWorkingSetAlready",
     -1,
     {10'000'000, 20'000'000},
     false,
     SIZE_MAX,
     {},
     {"SecureAllocator: Virtual lock are failed! Last error = 1453, minimum working set = 10000000",
      kCaught}},
    {"LacksOneByteOfEnough",
     -1,
     {9'999'999, 9'999'999},
     false,
     SIZE_MAX,
     {19'999'998},
     {"SecureAllocator: Virtual lock are failed! Last error = 1453, minimum working set = 19999998",
      kCaught}},
    {"MayNotRaiseTheWorkingSet",
     -1,
     {204'800, 1'413'120},
     true,
     SIZE_MAX,
     {409'600},
     {"SecureAllocator: SetProcessWorkingSetSize are failed! Last error = 1453, minimum working "
      "set = 409600",
      kCaught}},
    {"IsNotToldTheWorkingSet",
     -1,
     {0, 0},
     false,
     SIZE_MAX,
     {},
     {"SecureAllocator: Virtual lock are failed! Last error = 1453, minimum working set = 0",
      kCaught}},
    {"HasNoPages",
     0,
     {204'800, 1'413'120},
     false,
     0,
     {},
     {"SecureAllocator: Virtual allocation are failed!", kCaught}},
};

class CSecureAllocatorLockTest : public testing::TestWithParam<LockCase> {};

TEST_P(CSecureAllocatorLockTest, Zone) {
    const LockCase& expected = GetParam();
    CFakeZoneSystem system;
    CTraceListener trace;
    system.lockRefusals = expected.refusals;
    system.workingSet = expected.start;
    system.refusesWorkingSet = expected.refusesWorkingSet;
    system.largestReserve = expected.largestReserve;
    {
        CSecureAllocator zone(65'536, system);
        EXPECT_EQ(trace.Lines(), expected.trace);
        EXPECT_EQ(zone.IsFallback(), !expected.trace.empty());
        EXPECT_EQ(system.pages.size(), zone.IsFallback() ? 0u : 1u) << "nothing stays reserved";
        std::vector<std::size_t> asked;
        for (const WorkingSet& sizes : system.workingSetsAsked)
            asked.push_back(sizes.minimum);
        EXPECT_EQ(asked, expected.asked);
        if (!asked.empty()) {
            EXPECT_EQ(system.workingSetsAsked[0].maximum, 2 * expected.start.maximum);
        }

        std::string fault;
        std::vector<WalkedBlock> walked;
        EXPECT_TRUE(WalkZone(zone, walked, fault, true)) << fault;
        void* const block = zone.allocate(1000);
        std::memset(block, 0x5A, 1000);
        zone.free(block);
        EXPECT_TRUE(WalkZone(zone, walked, fault, true)) << fault;
    }
    EXPECT_THAT(system.faults, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(ThatThe, CSecureAllocatorLockTest, testing::ValuesIn(kLockCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(CSecureAllocatorTest, AHugeWorkingSetIsDoubledWithoutOverflow) {
    m_system.lockRefusals = 1;
    m_system.workingSet = {1, SIZE_MAX - 1};
    const CSecureAllocator zone(65'536, m_system);
    ASSERT_EQ(m_system.workingSetsAsked.size(), 1u);
    EXPECT_EQ(m_system.workingSetsAsked[0].maximum, SIZE_MAX);
}

TEST_F(CSecureAllocatorTest, WithoutAnyMemoryThereIsNoZone) {
    m_system.largestReserve = 0;
    m_system.largestHeap = 0;
    EXPECT_THROW(CSecureAllocator(65'536, m_system), std::bad_alloc);
}

}  // namespace
}  // namespace tarnwell::test
