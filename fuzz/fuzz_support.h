#pragma once

// What the fuzz targets share.

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace tarnwell {

/// A promise that is not held is a finding.
inline void Require(bool held) {
    if (!held)
        std::abort();
}

/// Views the fuzzer's bytes, or a byte container, as text.
inline std::string_view TextOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

}  // namespace tarnwell
