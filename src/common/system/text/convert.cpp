#include "common/system/text/convert.h"

namespace tarnwell {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

/// NextUtf16 decodes the code point at `text[at]` and moves `at` behind it; a lone surrogate
/// gives kIllFormed.
char32_t NextUtf16(std::u16string_view text, std::size_t& at) noexcept {
    const char32_t unit = text[at++];
    if (!IsSurrogate(unit))
        return unit;
    if (IsLowSurrogate(unit) || at == text.size() || !IsLowSurrogate(text[at]))
        return kIllFormed;
    return 0x10000 + ((unit - 0xD800) << 10) + (text[at++] - 0xDC00u);
}

/// NextUtf8 decodes the sequence at `text[at]` (RFC 3629, section 4) and moves `at` behind it;
/// a byte that starts none is passed alone and gives kReplacement.
char32_t NextUtf8(std::string_view text, std::size_t& at) noexcept {
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned char lead = byte(at);
    const std::size_t start = at++;
    if (lead < 0x80)
        return lead;
    const std::size_t length = lead < 0xC2   ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length == 0 || text.size() - start < length)
        return kReplacement;
    char32_t codePoint = lead & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(start + i) & 0xC0) != 0x80)
            return kReplacement;
        codePoint = codePoint << 6 | (byte(start + i) & 0x3Fu);
    }
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (codePoint < kSmallest[length] || codePoint > 0x10FFFF || IsSurrogate(codePoint))
        return kReplacement;
    at = start + length;
    return codePoint;
}

/// MostUtf8Units is room enough for the UTF-8 of `text`: exact but for ill-formed units.
std::size_t MostUtf8Units(std::u16string_view text) noexcept {
    std::size_t units = 0;
    for (const char16_t unit : text)
        units += unit < 0x80 ? 1 : unit < 0x800 || IsSurrogate(unit) ? 2 : 3;
    return units;
}

}  // namespace

CISOString Utf8FromUtf16(std::u16string_view text) {
    // Growing would lock, copy and wipe memory for a long list of files more than once.
    CISOString result;
    result.Reserve(MostUtf8Units(text));
    for (std::size_t at = 0; at < text.size();)
        result.AppendCodePoint(NextUtf16(text, at));
    return result;
}

CUTF16String Utf16FromUtf8(std::string_view text) {
    CUTF16String result;
    result.Reserve(text.size());
    for (std::size_t at = 0; at < text.size();)
        result.AppendCodePoint(NextUtf8(text, at));
    return result;
}

CUTF16String Utf16FromLatin1(std::string_view text) {
    CUTF16String result;
    result.Reserve(text.size());
    for (const char unit : text)
        result.AppendUnit(static_cast<unsigned char>(unit));
    return result;
}

CISOString Latin1FromUtf16(std::u16string_view text) {
    CISOString result;
    result.Reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const char32_t codePoint = NextUtf16(text, at);
        result.AppendUnit(codePoint < 0x100 ? static_cast<char>(codePoint) : kUnencodable);
    }
    return result;
}

CUTF32String Utf32FromUtf16(std::u16string_view text) {
    CUTF32String result;
    result.Reserve(text.size());
    for (std::size_t at = 0; at < text.size();)
        result.AppendUnit(NextUtf16(text, at));
    return result;
}

CISOString Utf8FromUtf32(std::u32string_view text) {
    CISOString result;
    result.Reserve(text.size());
    for (const char32_t codePoint : text)
        result.AppendCodePoint(codePoint);
    return result;
}

std::optional<std::uint32_t> ParseUnsigned(std::string_view text) noexcept {
    if (text.empty())
        return std::nullopt;
    std::uint64_t value = 0;
    for (const char digit : text) {
        if (digit < '0' || digit > '9')
            return std::nullopt;
        value = value * 10 + static_cast<unsigned>(digit - '0');
        if (value > UINT32_MAX)
            return std::nullopt;
    }
    return static_cast<std::uint32_t>(value);
}

CISOString FromNumber(std::uint64_t value) {
    char digits[20];
    std::size_t start = sizeof(digits);
    do {
        digits[--start] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    return CISOString(digits + start, sizeof(digits) - start);
}

CISOString UpperHex(std::basic_string_view<unsigned char> bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    CISOString result;
    result.Reserve(bytes.size() * 2);
    for (const unsigned char byte : bytes)
        result.AppendUnit(kDigits[byte >> 4]).AppendUnit(kDigits[byte & 15]);
    return result;
}

std::string_view Trimmed(std::string_view text, std::string_view units) noexcept {
    const std::size_t first = text.find_first_not_of(units);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(units) - first + 1);
}

}  // namespace tarnwell
