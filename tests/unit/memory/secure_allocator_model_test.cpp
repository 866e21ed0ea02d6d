// Random allocations and releases, each checked against what the zone's own blocks say must
// happen: which requests can be served, from which class, and that nothing else moves.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <random>
#include <vector>

#include "common/system/memory/secure_allocator.h"
#include "fake_zone_system.h"
#include "zone_walk.h"

namespace tarnwell::test {
namespace {

constexpr int kRounds = 100'000;
constexpr int kRoundsPerByteCheck = 64;

struct Held {
    unsigned char* data;
    std::size_t bytes;
    unsigned char fill;
};

bool AllBytesAre(const unsigned char* data, std::size_t bytes, unsigned char value) {
    return std::all_of(data, data + bytes, [&](unsigned char byte) { return byte == value; });
}

/// The class that must serve `needed`, or nothing: the lowest higher one with a free block, else
/// the own one if it has a larger block.
std::optional<std::size_t> ServingClass(const std::vector<WalkedBlock>& blocks,
                                        std::size_t needed) {
    const std::size_t own = ClassByDefinition(needed);
    std::optional<std::size_t> higher;
    bool ownServes = false;
    for (const WalkedBlock& block : blocks) {
        if (block.used)
            continue;
        const std::size_t sizeClass = ClassByDefinition(block.size);
        if (sizeClass > own)
            higher = std::min(higher.value_or(sizeClass), sizeClass);
        ownServes |= sizeClass == own && block.size > needed;
    }
    return higher ? higher : ownServes ? std::optional(own) : std::nullopt;
}

std::size_t RandomSize(std::mt19937& random) {
    const auto kind = random() % 100;
    if (kind < 50)
        return random() % 64;
    if (kind < 85)
        return random() % 700;
    if (kind < 98)
        return random() % 5000;
    return random() % 70'000;
}

class CSecureAllocatorModelTest : public testing::TestWithParam<unsigned> {};

TEST_P(CSecureAllocatorModelTest, EveryStepKeepsTheZoneInOrder) {
    CFakeZoneSystem system;
    CSecureAllocator zone(65'536, system);
    std::mt19937 random(GetParam());
    std::vector<Held> held;
    std::vector<WalkedBlock> before;
    std::string fault;
    int served = 0;
    int refused = 0;
    // The target swings, so that the zone is by turns nearly empty and full to refusal.
    for (int round = 0; round < kRounds; ++round) {
        ASSERT_TRUE(WalkZone(zone, before, fault, round % kRoundsPerByteCheck == 0))
            << "round " << round << ": " << fault;
        const bool filling = (round / 4000) % 2 == 0;
        if (held.empty() || random() % 100 < (filling ? 60u : 40u)) {
            const std::size_t bytes = RandomSize(random);
            const std::size_t needed = std::max<std::size_t>(bytes + 16, 24);
            const auto serving = ServingClass(before, needed);
            auto* data = static_cast<unsigned char*>(zone.TryAllocate(bytes));
            ASSERT_EQ(data != nullptr, serving.has_value()) << round << ": " << bytes;
            if (!data) {
                ++refused;
                continue;
            }
            ++served;
            const auto taken = std::find_if(before.begin(), before.end(), [&](const auto& block) {
                return block.address + 16 == reinterpret_cast<const std::byte*>(data);
            });
            ASSERT_TRUE(taken != before.end() && !taken->used) << round;
            ASSERT_EQ(ClassByDefinition(taken->size), *serving) << round;
            ASSERT_GE(taken->size, needed) << round;
            ASSERT_TRUE(AllBytesAre(data, bytes, 0)) << round;
            const auto fill = static_cast<unsigned char>(1 + random() % 255);
            std::memset(data, fill, bytes);
            held.push_back({data, bytes, fill});
        } else {
            std::swap(held[random() % held.size()], held.back());
            const Held gone = held.back();
            held.pop_back();
            ASSERT_TRUE(AllBytesAre(gone.data, gone.bytes, gone.fill)) << "overwritten: " << round;
            zone.free(gone.data);
        }
    }
    EXPECT_GT(served, kRounds / 4);
    EXPECT_GT(refused, 100) << "the zone was never full";
    for (const Held& block : held)
        zone.free(block.data);
    ASSERT_TRUE(WalkZone(zone, before, fault, true)) << fault;
    EXPECT_EQ(before.size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Seeds, CSecureAllocatorModelTest, testing::Values(1u));

}  // namespace
}  // namespace tarnwell::test
