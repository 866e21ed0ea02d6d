#include "zellog/trace_format.h"

#include <gtest/gtest.h>

namespace tarnwell::zellog {
namespace {

TEST(TraceFormat, HoldsEveryWidthPrecisionAndTextToALine) {
    const struct {
        const char* format;
        const char* bounded;  // null: refused
    } kCases[] = {
        {"plain 100%%", "plain 100%%"},
        {"%s|%-5.2s|%ls", "%.3016s|%-5.2s|%.3016ls"},
        {"%1000000000d %+.99999999999999999999f", "%3016d %+.3016f"},
        {"%.s%llu%I64x%#08X%hhd%zu%p", "%.0s%llu%I64x%#08X%hhd%zu%p"},
        {"%n", nullptr},
        {"a%hhn", nullptr},
        {"%*d", nullptr},
        {"%.*s", nullptr},
        {"%d %", nullptr},
        {"%5", nullptr},
        {"%lllllld", nullptr},
        {"%q", nullptr},
    };
    for (const auto& [format, bounded] : kCases) {
        char text[100] = "";
        EXPECT_STREQ(BoundFormat(format, text, sizeof text) ? text : nullptr, bounded) << format;
    }
    char small[7];
    EXPECT_TRUE(BoundFormat("%.1d%d", small, sizeof small));
    EXPECT_FALSE(BoundFormat("%.1d%d ", small, sizeof small));
    EXPECT_FALSE(BoundFormat("%s", small, sizeof small));
}

// NOLINTNEXTLINE(cert-dcl50-cpp): the interface is variadic.
std::string Formatted(const char* format, ...) {
    char text[kTraceTextSize];
    std::va_list arguments;
    va_start(arguments, format);
    FormatTrace(text, format, arguments);
    va_end(arguments);
    return text;
}

TEST(TraceFormat, ReadsNoTextFurtherThanALineShowsAndNoArgumentOfARefusedFormat) {
    const auto endless = std::make_unique<char[]>(kTraceTextSize);  // no zero: read to its end only
    std::fill_n(endless.get(), kTraceTextSize, 'x');
    EXPECT_EQ(Formatted("%s", endless.get()), std::string(kTraceTextSize - 1, 'x'));
    EXPECT_EQ(Formatted("%s is %05.1f%%", "it", 7.25), "it is 007.2%");
    EXPECT_EQ(Formatted("%s and %n", reinterpret_cast<const char*>(8)), "%s and %n");
    const std::string longFormat(5'000, 'y');
    EXPECT_EQ(Formatted(longFormat.c_str()), longFormat.substr(0, kTraceTextSize - 1));
}

}  // namespace
}  // namespace tarnwell::zellog
