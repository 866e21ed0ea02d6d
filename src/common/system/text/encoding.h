#pragma once

// The encodings that parameterise strings and message formatting: the type of one unit and how a
// code point is written in it. Pure; any thread may call.

#include <cstddef>

namespace tarnwell {

/// What stands for a code point that an encoding cannot carry.
inline constexpr char kUnencodable = '?';

/// U+FFFE marks ill-formed input after decoding; it is never written as itself in 8-bit text.
inline constexpr char32_t kIllFormed = 0xFFFE;

constexpr bool IsHighSurrogate(char32_t unit) noexcept {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool IsLowSurrogate(char32_t unit) noexcept {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}
constexpr bool IsSurrogate(char32_t unit) noexcept {
    return unit >= 0xD800 && unit <= 0xDFFF;
}

/// 8-bit text: protocol lines, messages and catalogue texts, which hold UTF-8.
struct CISOEncoding {
    using Unit = char;
    static constexpr std::size_t kMaxUnits = 4;

    /// Encode writes `codePoint` as UTF-8 (RFC 3629's scheme, extended to 0x1FFFFF as the
    /// maker's other programs read it) and returns the number of units, 1 to 4. Surrogates,
    /// U+FFFE and anything above 0x1FFFFF become "?".
    static constexpr std::size_t Encode(char32_t codePoint, Unit* units) noexcept {
        if (IsSurrogate(codePoint) || codePoint == kIllFormed || codePoint > 0x1FFFFF) {
            units[0] = kUnencodable;
            return 1;
        }
        if (codePoint < 0x80) {
            units[0] = static_cast<Unit>(codePoint);
            return 1;
        }
        const std::size_t length = codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
        for (std::size_t i = length - 1; i > 0; --i) {
            units[i] = static_cast<Unit>(0x80 | (codePoint & 0x3F));
            codePoint >>= 6;
        }
        constexpr unsigned kLead[] = {0, 0, 0xC0, 0xE0, 0xF0};
        units[0] = static_cast<Unit>(kLead[length] | codePoint);
        return length;
    }
};

/// UTF-16 units: paths and everything that is handed to the shell.
struct CUTF16Encoding {
    using Unit = char16_t;
    static constexpr std::size_t kMaxUnits = 2;

    /// Encode writes one unit or a surrogate pair (RFC 2781, section 2.1) and returns how many.
    /// A lone surrogate passes through; a code point above 0x10FFFF becomes "?".
    static constexpr std::size_t Encode(char32_t codePoint, Unit* units) noexcept {
        if (codePoint > 0x10FFFF) {
            units[0] = kUnencodable;
            return 1;
        }
        if (codePoint < 0x10000) {
            units[0] = static_cast<Unit>(codePoint);
            return 1;
        }
        codePoint -= 0x10000;
        units[0] = static_cast<Unit>(0xD800 | (codePoint >> 10));
        units[1] = static_cast<Unit>(0xDC00 | (codePoint & 0x3FF));
        return 2;
    }
};

/// Strings of whole code points.
struct CUTF32Encoding {
    using Unit = char32_t;
    static constexpr std::size_t kMaxUnits = 1;

    static constexpr std::size_t Encode(char32_t codePoint, Unit* units) noexcept {
        units[0] = codePoint;
        return 1;
    }
};

}  // namespace tarnwell
