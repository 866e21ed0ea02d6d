#pragma once

// White space as the C library's isspace has it in the "C" locale, whatever locale the host
// process has set. Pure; any thread may call.

namespace tarnwell {

constexpr bool IsJSWhiteSpace(char unit) noexcept {
    return unit == ' ' || (unit >= '\t' && unit <= '\r');
}

}  // namespace tarnwell
