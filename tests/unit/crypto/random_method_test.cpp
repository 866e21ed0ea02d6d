#include "common/crypto/random_method.h"

#include <gmock/gmock.h>
#include <openssl/rand.h>

#include <set>
#include <string>
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
    unsigned char bytes[32];
    EXPECT_EQ(RAND_bytes(bytes, sizeof bytes), 1);
    EXPECT_EQ(RAND_get_rand_method(), RAND_OpenSSL());
    const int attempts = provider.s_acquired;
    provider.s_handle = 77;
    EXPECT_EQ(RandomBytes(bytes, sizeof bytes), 1);
    EXPECT_EQ(provider.s_acquired, attempts) << "a provider that comes late is not asked";
    EXPECT_THAT(trace.Messages(), ElementsAre(kWarning));
}

// What stays unfilled, in whole or in part, or comes twice, makes equal pieces.
TEST(RandomMethod, FillsEveryPieceOfABufferAnew) {
    InstallRandomMethod();
    std::string bytes(4096, '\0');
    EXPECT_EQ(RAND_bytes(reinterpret_cast<unsigned char*>(bytes.data()), 4096), 1);
    std::set<std::string> pieces;
    for (std::size_t at = 0; at < bytes.size(); at += 16)
        pieces.insert(bytes.substr(at, 16));
    EXPECT_EQ(pieces.size(), 4096u / 16);
    RAND_set_rand_method(RAND_OpenSSL());
}

}  // namespace
}  // namespace tarnwell
