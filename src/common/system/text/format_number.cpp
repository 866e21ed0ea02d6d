#include "common/system/text/format_number.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace tarnwell {
namespace {

// Beyond this a width or precision changes nothing in the 39 units that are kept.
constexpr int kWidest = 200;

struct Conversion {
    bool leftAligned = false;
    bool plus = false;
    bool blank = false;
    bool alternate = false;
    bool zeros = false;
    int width = 0;
    int precision = -1;
    char kind = 0;
    std::string_view tail;
};

char TakeAnyOf(std::string_view& text, std::string_view units) noexcept {
    if (text.empty() || units.find(text.front()) == std::string_view::npos)
        return 0;
    const char taken = text.front();
    text.remove_prefix(1);
    return taken;
}

int TakeNumber(std::string_view& text) noexcept {
    int number = 0;
    while (const char digit = TakeAnyOf(text, "0123456789"))
        number = std::min(number * 10 + (digit - '0'), kWidest);
    return number;
}

/// Parse reads a specification; false if it asks for anything but an integer or a character.
bool Parse(std::string_view text, Conversion& conversion) noexcept {
    while (const char flag = TakeAnyOf(text, "-+ #0")) {
        conversion.leftAligned |= flag == '-';
        conversion.plus |= flag == '+';
        conversion.blank |= flag == ' ';
        conversion.alternate |= flag == '#';
        conversion.zeros |= flag == '0';
    }
    conversion.width = TakeNumber(text);
    if (TakeAnyOf(text, "."))
        conversion.precision = TakeNumber(text);
    for (const std::string_view modifier : {"hh", "h", "ll", "l", "j", "z", "t", "I64", "I32"}) {
        if (text.starts_with(modifier)) {
            text.remove_prefix(modifier.size());
            break;
        }
    }
    conversion.kind = TakeAnyOf(text, "diuoxXc");
    conversion.tail = text;
    return conversion.kind != 0 && text.find('%') == std::string_view::npos;
}

/// The same conversion in the spelling that printf defines for it: "#" only where it has a
/// meaning, and a character without any of the numbers' flags.
struct PrintfFormat {
    char text[24];

    PrintfFormat(const Conversion& conversion, bool wide) noexcept {
        const bool number = conversion.kind != 'c';
        const bool radix = conversion.kind == 'o' || (conversion.kind | 0x20) == 'x';
        char* out = text;
        *out++ = '%';
        if (conversion.leftAligned)
            *out++ = '-';
        if (conversion.plus && number)
            *out++ = '+';
        if (conversion.blank && number)
            *out++ = ' ';
        if (conversion.alternate && radix)
            *out++ = '#';
        if (conversion.zeros && number)
            *out++ = '0';
        *out++ = '*';
        if (number)
            out = std::copy_n(".*", 2, out);
        if (wide)
            out = std::copy_n("ll", 2, out);
        *out++ = conversion.kind;
        out = std::copy_n("%s", 2, out);
        *out = '\0';
    }
};

NumberText Kept(const char (&buffer)[40], int produced) noexcept {
    NumberText result{};
    result.length = static_cast<std::size_t>(std::clamp(produced, 0, 39));
    std::copy_n(buffer, result.length, result.units);
    return result;
}

NumberText Decimal(NumberValue value) noexcept {
    char buffer[40];
    return Kept(buffer, value.isSigned
                            ? std::snprintf(buffer, sizeof(buffer), "%lld",
                                            static_cast<long long>(value.asSigned))
                            : std::snprintf(buffer, sizeof(buffer), "%llu",
                                            static_cast<unsigned long long>(value.asUnsigned)));
}

}  // namespace

NumberText FormatNumber(const NumberSpecification& specification, NumberValue value) noexcept {
    Conversion conversion;
    if (!Parse({specification.Units(), specification.Length()}, conversion))
        return Decimal(value);
    char tail[40] = {};
    std::copy_n(conversion.tail.data(), std::min<std::size_t>(conversion.tail.size(), 39), tail);
    char buffer[40];
    int produced = 0;
    const int width = conversion.width;
    const int precision = conversion.precision;
    switch (conversion.kind) {
        case 'c':
            if (value.asUnsigned == 0 || value.asUnsigned > 0x7F)
                return Decimal(value);
            produced = std::snprintf(buffer, sizeof(buffer), PrintfFormat(conversion, false).text,
                                     width, static_cast<int>(value.asUnsigned), tail);
            break;
        case 'd':
        case 'i':
            produced =
                std::snprintf(buffer, sizeof(buffer), PrintfFormat(conversion, true).text, width,
                              precision, static_cast<long long>(value.asSigned), tail);
            break;
        default:
            produced =
                std::snprintf(buffer, sizeof(buffer), PrintfFormat(conversion, true).text, width,
                              precision, static_cast<unsigned long long>(value.asUnsigned), tail);
            break;
    }
    return Kept(buffer, produced);
}

}  // namespace tarnwell
