#include "common/crypto/random_provider.h"

namespace tarnwell {

const RandomProvider& SystemRandomProvider() noexcept {
    static constexpr RandomProvider kNone = {
        []() noexcept -> RandomProvider::Handle { return 0; },
        [](RandomProvider::Handle) noexcept {},
        [](RandomProvider::Handle, unsigned char*, std::uint32_t) noexcept { return false; }};
    return kNone;
}

}  // namespace tarnwell
