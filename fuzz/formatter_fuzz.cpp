// Templates and arguments from anywhere: the first line is the template, each further line an
// argument (a number where it is decimal digits). The expansion never fails, the 8-bit and the
// UTF-16 formatter agree on plain text, and what the conversions make of any bytes is well-formed.

#include <algorithm>

#include "common/system/text/convert.h"
#include "common/system/text/format.h"
#include "fuzz_support.h"

using namespace tarnwell;

namespace {

std::string_view TakeLine(std::string_view& rest) {
    const std::size_t end = rest.find('\n');
    const std::string_view line = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return line;
}

}  // namespace

void tarnwell::Fuzz(std::string_view input) {
    std::string_view rest = input;
    const std::string_view text = TakeLine(rest);
    CTFmtArgs<CISOEncoding> arguments;
    CTFmtArgs<CUTF16Encoding> wideArguments;
    std::size_t longest = 39;
    while (!rest.empty() && arguments.Count() < 12) {
        const std::string_view line = TakeLine(rest);
        longest = std::max(longest, line.size());
        if (const auto number = ParseUnsigned(line)) {
            arguments.Add(*number);
            wideArguments.Add(*number);
        } else if (line.starts_with('-') && ParseUnsigned(line.substr(1))) {
            const auto number = -static_cast<std::int64_t>(*ParseUnsigned(line.substr(1)));
            arguments.Add(number);
            wideArguments.Add(number);
        } else {
            arguments.Add(line);
            wideArguments.Add(Utf16FromUtf8(line));
        }
    }

    const CISOString expanded = arguments.Format(text);
    Require(expanded.Length() <= text.size() * (longest + 1));
    const CUTF16String wide = wideArguments.Format(Utf16FromUtf8(text));
    if (std::ranges::all_of(BytesOf(input), [](std::uint8_t unit) { return unit < 0x80; }))
        Require(Utf8FromUtf16(wide) == expanded);

    const CUTF16String once = Utf16FromUtf8(input);
    Require(Utf16FromUtf8(Utf8FromUtf32(Utf32FromUtf16(once))).Length() == once.Length());
    for (const char16_t* unit = once.CStr(); unit != once.CStr() + once.Length(); ++unit) {
        if (IsHighSurrogate(*unit))
            Require(IsLowSurrogate(*++unit));
        else
            Require(!IsLowSurrogate(*unit));
    }
}
