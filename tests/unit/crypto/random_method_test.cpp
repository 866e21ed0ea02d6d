#include "common/crypto/random_method.h"

#include <gmock/gmock.h>
#include <openssl/rand.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <vector>

#include "common/crypto/random_provider.h"
#include "support/trace_listener.h"

namespace tarnwell {
namespace {

using testing::ElementsAre;

constexpr const char* kWarning =
    "WARNING: Unable to acquire MS Base CSP context for generating randoms";

/// Provider that counts what it is asked for; it fills nothing, so counts may be as large as they
/// like.
struct FakeProvider {
    static inline RandomProvider::Handle s_handle;
    static inline bool s_succeeds;
    static inline int s_acquired, s_released;
    static inline std::vector<std::uint32_t> s_sizes;

    static constexpr RandomProvider kProvider = {
        []() noexcept {
            ++s_acquired;
            return s_handle;
        },
        [](RandomProvider::Handle) noexcept { ++s_released; },
        [](RandomProvider::Handle, unsigned char*, std::uint32_t size) noexcept {
            s_sizes.push_back(size);
            return s_succeeds;
        }};

    explicit FakeProvider(RandomProvider::Handle handle) {
        s_handle = handle;
        s_succeeds = true;
        s_acquired = s_released = 0;
        s_sizes.clear();
        ReplaceRandomProvider(&kProvider);
        InstallRandomMethod();
    }
    ~FakeProvider() {
        ReplaceRandomProvider(nullptr);
        RAND_set_rand_method(RAND_OpenSSL());
    }
};

TEST(RandomMethod, LibcryptoDrawsFromTheProviderAcquiredOnceInPiecesThatItTakes) {
    FakeProvider provider(77);
    unsigned char bytes[16];
    EXPECT_EQ(RAND_status(), 1);
    EXPECT_EQ(RAND_bytes(bytes, sizeof bytes), 1);
    EXPECT_EQ(RAND_priv_bytes(bytes, 5), 1);
    RAND_seed("seed", 4);
    RAND_add("seed", 4, 4.0);
    EXPECT_EQ(RandomBytes(bytes, 0), 1);
    EXPECT_EQ(RAND_get_rand_method()->bytes(bytes, -1), 0);
    EXPECT_EQ(RandomBytes(bytes, (std::size_t{1} << 32) + 9), 1);
    EXPECT_THAT(provider.s_sizes, ElementsAre(16U, 5U, 0xFFFFFFFFU, 10U));
    provider.s_succeeds = false;
    EXPECT_EQ(RAND_bytes(bytes, 1), 0);
    EXPECT_EQ(provider.s_acquired, 1);
    ReplaceRandomProvider(nullptr);
    EXPECT_EQ(provider.s_released, 1);
}

TEST(RandomMethod, WithoutAProviderLibcryptosOwnGeneratorTakesOverForGood) {
    FakeProvider provider(0);
    const test::CTraceListener trace;
    EXPECT_EQ(RAND_status(), 1);
    EXPECT_THAT(trace.Messages(), ElementsAre()) << "nothing was requested";
    unsigned char bytes[32] = {}, more[32] = {};
    EXPECT_EQ(RAND_bytes(bytes, sizeof bytes), 1);
    EXPECT_EQ(RAND_get_rand_method(), RAND_OpenSSL());
    const int attempts = provider.s_acquired;
    EXPECT_EQ(RandomBytes(more, sizeof more), 1);
    EXPECT_NE(std::memcmp(bytes, more, sizeof more), 0);
    provider.s_handle = 77;
    EXPECT_EQ(RandomBytes(more, sizeof more), 1);
    EXPECT_EQ(provider.s_acquired, attempts) << "a provider that comes late is not asked";
    EXPECT_THAT(trace.Messages(), ElementsAre(kWarning));
}

/// Deviation of the number of ones, and of the number of runs given the ones, in units of their
/// standard deviation (NIST SP 800-22, 2.1 and 2.3).
std::pair<double, double> Deviations(const std::vector<unsigned char>& bytes) {
    double ones = 0, runs = 1;
    int last = bytes.front() & 1;
    for (const unsigned char byte : bytes) {
        ones += std::popcount(byte);
        for (int bit = 0; bit < 8; ++bit) {
            runs += (byte >> bit & 1) != last;
            last = byte >> bit & 1;
        }
    }
    const double bits = 8.0 * static_cast<double>(bytes.size());
    const double share = ones / bits;
    const double spread = 2 * std::sqrt(bits) * share * (1 - share);
    return {std::abs(2 * ones - bits) / std::sqrt(bits),
            std::abs(runs - 2 * bits * share * (1 - share)) / spread};
}

// A sanity check, no proof. Chance alone exceeds five deviations once in two million times.
TEST(RandomMethod, ItsOutputPassesAMonobitAndARunsTest) {
    InstallRandomMethod();
    std::vector<unsigned char> bytes(125'000);
    EXPECT_EQ(RAND_bytes(bytes.data(), static_cast<int>(bytes.size())), 1);
    const auto [monobit, runs] = Deviations(bytes);
    EXPECT_LT(monobit, 5.0);
    EXPECT_LT(runs, 5.0);
    EXPECT_GT(Deviations(std::vector<unsigned char>(125'000, 0x55)).second, 5.0);
    EXPECT_GT(Deviations(std::vector<unsigned char>(125'000, 0x5D)).first, 5.0);
    RAND_set_rand_method(RAND_OpenSSL());
}

}  // namespace
}  // namespace tarnwell
