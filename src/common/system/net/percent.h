#pragma once

// Percent coding of what travels in an address. The two directions belong to different ends and
// are not each other's inverse: encoding writes what the manager's page expects, decoding reads
// what browsers put into a query. Pure; any thread may call.

#include <cstdint>
#include <string_view>
#include <vector>

#include "common/system/text/string.h"

namespace tarnwell {

/// PercentEncode copies ASCII letters, digits and ! ( ) * - . _ ~ and writes every other byte as
/// "%" and two upper-case hexadecimal digits (so blank, apostrophe, comma and backslash are
/// escaped). It stops at the first zero byte.
CISOString PercentEncode(std::string_view bytes);

/// PercentDecode turns "+" into a blank and "%" with the two characters behind it into one byte;
/// a "%" with fewer than two characters behind it ends the text there. The two characters are
/// read the way scanf's "%2x" reads: leading white space and a sign are taken, reading ends at
/// the first character that is no hexadecimal digit, and nothing readable gives the byte zero.
CISOString PercentDecode(std::string_view text);

/// PercentDecodeBytes decodes as PercentDecode does, into bytes.
std::vector<std::uint8_t> PercentDecodeBytes(std::string_view text);

/// Both take a C string too; null is the empty text.
CISOString PercentDecode(const char* text);
std::vector<std::uint8_t> PercentDecodeBytes(const char* text);

}  // namespace tarnwell
