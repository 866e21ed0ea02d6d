#pragma once

// The grammar of a message head, one line at a time: functions over views, without I/O. Only the
// blank separates and is trimmed, never the tab. Pure; any thread may call.

#include <cstdint>
#include <optional>
#include <string_view>

namespace tarnwell {

struct CStatusLine {
    std::uint32_t code = 0;
    std::string_view reason;
};

/// ParseStatusLine reads "HTTP/1.x CODE[ REASON]", x any one character; nothing if `line` is
/// otherwise. The reason views into `line`.
std::optional<CStatusLine> ParseStatusLine(std::string_view line) noexcept;

struct CHeaderLine {
    std::string_view name;
    std::string_view value;
};

/// ParseHeaderLine splits at the first ":"; blanks before it and around the value are dropped.
/// Nothing if there is no ":". Both parts view into `line`.
std::optional<CHeaderLine> ParseHeaderLine(std::string_view line) noexcept;

}  // namespace tarnwell
