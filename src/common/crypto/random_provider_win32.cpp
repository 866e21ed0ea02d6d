#include "common/crypto/random_provider.h"
#include "common/system/os/windows.h"

// wincrypt.h needs windows.h before it.
#include <wincrypt.h>

namespace tarnwell {
namespace {

static_assert(sizeof(HCRYPTPROV) == sizeof(RandomProvider::Handle));

RandomProvider::Handle Acquire() noexcept {
    HCRYPTPROV provider = 0;
    // Random numbers need no keys of the user's: no container is opened or made.
    if (!CryptAcquireContextW(&provider, nullptr, nullptr, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT))
        return 0;
    return provider;
}

void Release(RandomProvider::Handle provider) noexcept {
    CryptReleaseContext(provider, 0);
}

bool Generate(RandomProvider::Handle provider, unsigned char* bytes, std::uint32_t size) noexcept {
    return CryptGenRandom(provider, size, bytes) != FALSE;
}

}  // namespace

const RandomProvider& SystemRandomProvider() noexcept {
    static constexpr RandomProvider kWindows = {Acquire, Release, Generate};
    return kWindows;
}

}  // namespace tarnwell
