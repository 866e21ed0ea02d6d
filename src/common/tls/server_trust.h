#pragma once

// Who says whether a server is the one it claims to be. TLS itself proves only that the peer holds
// its certificate's key; whether that certificate counts is the operating system's business. A
// narrow seam, because only Windows has that judge: tests put one of their own in its place.

#include <cstdint>
#include <span>

#include "common/system/text/string.h"

namespace tarnwell {

class IServerTrust {
public:
    /// Trusts tells whether `certificate`, the DER encoding of what the server showed (foreign
    /// bytes), belongs to `host` and may be believed. Whatever cannot be judged is not trusted.
    virtual bool Trusts(std::span<const std::uint8_t> certificate, const CISOString& host) = 0;

    /// System is the operating system's judge, alive as long as the module; any thread may ask.
    /// Windows: a chain to a trusted root, for server authentication, now, for `host`, nothing
    /// below the root revoked; only the system's own stores and downloads complete the chain.
    /// Checking revocation may go to the network for seconds. Elsewhere: nobody is trusted.
    static IServerTrust& System() noexcept;

protected:
    ~IServerTrust() = default;
};

}  // namespace tarnwell
