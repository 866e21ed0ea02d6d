#pragma once

// How a trace file begins, by which it is told from a file that is somebody's. Pure.

#include <algorithm>
#include <string_view>

namespace tarnwell::zellog {

/// The time of a file's first line; '0' stands for any digit.
inline constexpr std::string_view kTraceStart = "0000-00-00T00:00:00.000Z ";

/// IsTraceStart tells whether a file with these first bytes, kTraceStart.size() of them or all that
/// it has, is a trace. An empty one is; so is one whose first line a full disk has cut.
constexpr bool IsTraceStart(std::string_view bytes) noexcept {
    const auto fits = [](char wanted, char byte) {
        return wanted == '0' ? '0' <= byte && byte <= '9' : wanted == byte;
    };
    const std::string_view start = bytes.substr(0, kTraceStart.size());
    return std::ranges::equal(kTraceStart.substr(0, start.size()), start, fits);
}

}  // namespace tarnwell::zellog
