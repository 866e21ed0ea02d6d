#pragma once

// A parsed address: "scheme://host:port/path". Pure; any thread may parse.

#include <cstdint>
#include <string_view>

#include "common/system/text/string.h"

namespace tarnwell {

/// The parts of an address, exactly as written: nothing is case-folded, decoded or checked beyond
/// the port. Whoever builds an address from foreign text percent-encodes that text first.
struct CHttpUrl {
    bool valid = false;
    CISOString scheme;
    CISOString host;
    /// 32 bits as parsed; only the low 16 reach the socket.
    std::uint32_t port = 0;
    /// From the first "/" after the host to the end, query and fragment included; never empty in
    /// a valid address.
    CISOString path;

    /// Parse splits `text`; it never raises. Without "://" nothing but `valid` (false) is set; a
    /// port that is no unsigned decimal number clears `valid` and leaves port 0. The host ends at
    /// its first ":", so an IPv6 literal is cut there. Default ports: 443 for "https", else 80.
    static CHttpUrl Parse(std::string_view text);
};

}  // namespace tarnwell
