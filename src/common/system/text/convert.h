#pragma once

// Conversions between the encodings and from text to numbers. Ill-formed input never reads past
// its end and never fails: each function says what it gives instead. Pure; any thread may call.

#include <cstdint>
#include <optional>
#include <string_view>

#include "common/system/text/string.h"

namespace tarnwell {

/// Utf8FromUtf16 pairs surrogates; a lone one (and U+FFFE) becomes "?".
CISOString Utf8FromUtf16(std::u16string_view text);

/// Utf16FromUtf8 decodes RFC 3629; every byte that starts no well-formed sequence (overlong forms,
/// surrogates, code points above 0x10FFFF, cut sequences) becomes one U+FFFD.
CUTF16String Utf16FromUtf8(std::string_view text);

/// Utf16FromLatin1 widens each byte to the unit of the same value (ISO 8859-1).
CUTF16String Utf16FromLatin1(std::string_view text);

/// Latin1FromUtf16 narrows code points up to 255; each one above, and each lone surrogate, is "?".
CISOString Latin1FromUtf16(std::u16string_view text);

/// Utf32FromUtf16 gives one code point a unit or pair; a lone surrogate gives U+FFFE.
CUTF32String Utf32FromUtf16(std::u16string_view text);

/// Utf8FromUtf32 encodes as CISOString::AppendCodePoint does.
CISOString Utf8FromUtf32(std::u32string_view text);

/// ParseUnsigned reads text that is decimal digits and nothing else; nothing for an empty text,
/// another character or a value above 4,294,967,295.
std::optional<std::uint32_t> ParseUnsigned(std::string_view text) noexcept;

/// FromNumber gives the decimal text of `value`.
CISOString FromNumber(std::uint64_t value);

/// UpperHex gives two upper-case digits a byte, high nibble first, no separators.
CISOString UpperHex(std::basic_string_view<unsigned char> bytes);

/// HexValue gives 0 to 15 for a hexadecimal digit of either case, -1 for anything else.
constexpr int HexValue(char digit) noexcept {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    return -1;
}

/// Trimmed is the text without any of `units` at both ends.
std::string_view Trimmed(std::string_view text, std::string_view units) noexcept;

}  // namespace tarnwell
