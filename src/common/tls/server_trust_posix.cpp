#include "common/tls/server_trust.h"

namespace tarnwell {
namespace {

/// There is no chain engine here, so there is nothing to base trust on.
class CNoTrust : public IServerTrust {
public:
    bool Trusts(std::span<const std::uint8_t>, const CISOString&) override { return false; }
};

}  // namespace

IServerTrust& IServerTrust::System() noexcept {
    static CNoTrust nobody;
    return nobody;
}

}  // namespace tarnwell
