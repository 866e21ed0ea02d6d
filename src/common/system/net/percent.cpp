#include "common/system/net/percent.h"

#include <algorithm>
#include <string>

#include "common/system/text/convert.h"

namespace tarnwell {
namespace {

/// The manager's page decodes what scripts escape, so the plain set is theirs, less the apostrophe.
constexpr bool IsPlain(char byte) noexcept {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
           (byte >= '0' && byte <= '9') ||
           std::string_view("!()*-._~").find(byte) != std::string_view::npos;
}

constexpr bool IsWhite(char byte) noexcept {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

/// ReadHex reads at most two characters as scanf's "%2x" does.
constexpr std::uint8_t ReadHex(std::string_view digits) noexcept {
    while (!digits.empty() && IsWhite(digits.front()))
        digits.remove_prefix(1);
    const bool negative = digits.starts_with('-');
    if (negative || digits.starts_with('+'))
        digits.remove_prefix(1);
    unsigned value = 0;
    for (const char digit : digits) {
        if (HexValue(digit) < 0)
            break;
        value = value * 16 + static_cast<unsigned>(HexValue(digit));
    }
    return static_cast<std::uint8_t>(negative ? 0U - value : value);
}

/// Decode gives one byte after the other to `take`.
template <class Take>
void Decode(std::string_view text, Take take) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '+') {
            take(std::uint8_t{' '});
        } else if (text[i] != '%') {
            take(static_cast<std::uint8_t>(text[i]));
        } else {
            if (text.size() - i < 3)
                return;
            take(ReadHex(text.substr(i + 1, 2)));
            i += 2;
        }
    }
}

}  // namespace

CISOString PercentEncode(std::string_view bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";

    bytes = bytes.substr(0, bytes.find('\0'));
    const auto escaped =
        bytes.size() - static_cast<std::size_t>(std::count_if(bytes.begin(), bytes.end(), IsPlain));
    CISOString text;
    text.Reserve(bytes.size() + 2 * escaped);
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        if (IsPlain(byte))
            text.AppendUnit(byte);
        else
            text.AppendUnit('%').AppendUnit(kDigits[value >> 4]).AppendUnit(kDigits[value & 15]);
    }
    return text;
}

CISOString PercentDecode(std::string_view text) {
    CISOString decoded;
    decoded.Reserve(text.size());
    Decode(text, [&](std::uint8_t byte) { decoded.AppendUnit(static_cast<char>(byte)); });
    return decoded;
}

std::vector<std::uint8_t> PercentDecodeBytes(std::string_view text) {
    std::vector<std::uint8_t> decoded;
    decoded.reserve(text.size());
    Decode(text, [&](std::uint8_t byte) { decoded.push_back(byte); });
    return decoded;
}

CISOString PercentDecode(const char* text) {
    return PercentDecode(std::string_view(text ? text : ""));
}

std::vector<std::uint8_t> PercentDecodeBytes(const char* text) {
    return PercentDecodeBytes(std::string_view(text ? text : ""));
}

}  // namespace tarnwell
