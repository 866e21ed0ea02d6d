#pragma once

// Windows' judgement on a certificate. A narrow seam: tests put their own in its place. A check
// may wait for a revocation service on the network, so it belongs on a background thread.

#include <cstdint>
#include <optional>
#include <span>

namespace tarnwell {

class CChainEngine {
public:
    virtual ~CChainEngine() = default;

    /// ErrorStatus builds the chain of the DER-encoded certificate as of now, with the current
    /// user's trust and its own revocation checked, and gives the error bits of the whole chain
    /// (CERT_TRUST_STATUS::dwErrorStatus); nothing where no chain can be built at all.
    virtual std::optional<std::uint32_t> ErrorStatus(std::span<const unsigned char> der) = 0;

    /// System is the real thing, alive as long as the module.
    static CChainEngine& System() noexcept;
};

}  // namespace tarnwell
