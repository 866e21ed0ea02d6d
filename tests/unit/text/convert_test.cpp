#include "common/system/text/convert.h"

#include <gtest/gtest.h>

namespace tarnwell::test {
namespace {

using namespace std::string_view_literals;

TEST(ConvertTest, Utf16FromUtf8ReplacesEveryByteThatStartsNothing) {
    const std::pair<std::string_view, std::u16string_view> kCases[] = {
        {""sv, u""sv},
        {"a\0b"sv, u"a\0b"sv},
        {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80!"sv, u"\u00E9\u20AC\U0001F600!"sv},
        {"\xEF\xBF\xBE\xF4\x8F\xBF\xBF"sv, u"\uFFFE\U0010FFFF"sv},
        // Above the last code point, overlong forms, surrogates written as three bytes.
        {"\xF4\x90\x80\x80"sv, u"\uFFFD\uFFFD\uFFFD\uFFFD"sv},
        {"\xF5\xFE\xFF"sv, u"\uFFFD\uFFFD\uFFFD"sv},
        {"\xC0\xAF\xC1\xBF"sv, u"\uFFFD\uFFFD\uFFFD\uFFFD"sv},
        {"\xE0\x9F\xBF"sv, u"\uFFFD\uFFFD\uFFFD"sv},
        {"\xF0\x8F\xBF\xBF"sv, u"\uFFFD\uFFFD\uFFFD\uFFFD"sv},
        {"\xED\xA0\x80"sv, u"\uFFFD\uFFFD\uFFFD"sv},
        // Lone and cut bytes; what follows is read again from its own start.
        {"\x80\x41"sv, u"\uFFFDA"sv},
        {"\xE2\xC3\xA9"sv, u"\uFFFD\u00E9"sv},
        {"\xE2\x82"sv, u"\uFFFD\uFFFD"sv},
        {"\xF0\x9F\x98\x41"sv, u"\uFFFD\uFFFD\uFFFDA"sv},
    };
    for (const auto& [utf8, utf16] : kCases) {
        // A copy without a byte behind it, so that reading past the end is seen by the checkers.
        const std::vector<char> exact(utf8.begin(), utf8.end());
        EXPECT_TRUE(Utf16FromUtf8({exact.data(), exact.size()}) == utf16)
            << testing::PrintToString(utf8);
    }
}

TEST(ConvertTest, Utf16IsReadInPairs) {
    const struct {
        std::u16string_view utf16;
        std::string_view utf8;
        std::string_view latin1;
        std::u32string_view utf32;
    } kCases[] = {
        {u"a\0b"sv, "a\0b"sv, "a\0b"sv, U"a\0b"sv},
        {u"\u00FF\u0100"sv, "\xC3\xBF\xC4\x80"sv, "\xFF?"sv, U"\u00FF\u0100"sv},
        {u"\U0001F600x"sv, "\xF0\x9F\x98\x80x"sv, "?x"sv, U"\U0001F600x"sv},
        {u"\xD83Dx\xD83D"sv, "?x?"sv, "?x?"sv, U"\xFFFEx\xFFFE"sv},
        {u"\xDE00\xD83D\xD83D\xDE00"sv, "??\xF0\x9F\x98\x80"sv, "???"sv,
         U"\xFFFE\xFFFE\U0001F600"sv},
        {u"\xFFFE"sv, "?"sv, "?"sv, U"\xFFFE"sv},
    };
    for (const auto& [utf16, utf8, latin1, utf32] : kCases) {
        const std::vector<char16_t> units(utf16.begin(), utf16.end());
        const std::u16string_view exact(units.data(), units.size());
        EXPECT_EQ(Utf8FromUtf16(exact), utf8);
        EXPECT_EQ(Latin1FromUtf16(exact), latin1) << testing::PrintToString(utf8);
        EXPECT_TRUE(Utf32FromUtf16(exact) == utf32) << testing::PrintToString(utf8);
    }
}

TEST(ConvertTest, EveryCodePointMakesTheRoundTrip) {
    for (char32_t codePoint = 0; codePoint <= 0x10FFFF; codePoint += codePoint < 0x3000 ? 1 : 37) {
        if (IsSurrogate(codePoint) || codePoint == kIllFormed)
            continue;
        const CISOString utf8 = CISOString().AppendCodePoint(codePoint);
        const CUTF16String utf16 = Utf16FromUtf8(utf8);
        ASSERT_EQ(utf16, CUTF16String().AppendCodePoint(codePoint));
        ASSERT_EQ(Utf8FromUtf32(Utf32FromUtf16(utf16)), utf8);
        if (codePoint < 0x100) {
            ASSERT_EQ(Utf16FromLatin1(Latin1FromUtf16(utf16)), utf16);
        }
    }
}

TEST(ConvertTest, NumbersAndBytesBecomeTextAndBack) {
    EXPECT_EQ(ParseUnsigned("000000000000000000000042"), 42u);
    EXPECT_EQ(ParseUnsigned("4294967295"), UINT32_MAX);
    for (const char* text : {"", "4294967296", "18446744073709551616", "99999999999999999999999999",
                             "-1", "+1", " 1", "1 ", "1\n", "0x10", "1.0"})
        EXPECT_EQ(ParseUnsigned(text), std::nullopt) << text;
    EXPECT_EQ(FromNumber(0) + FromNumber(UINT64_MAX), "018446744073709551615");
    const unsigned char bytes[] = {0x00, 0x0A, 0x9F, 0xFF};
    EXPECT_EQ(UpperHex({bytes, 4}), "000A9FFF");
    const auto kDigits = "0123456789abcdef0123456789ABCDEF"sv;
    for (std::size_t i = 0; i < kDigits.size(); ++i)
        EXPECT_EQ(HexValue(kDigits[i]), static_cast<int>(i % 16));
    for (const char unit : "/:@G`g\xB0"sv)
        EXPECT_EQ(HexValue(unit), -1) << unit;
    EXPECT_EQ(Trimmed(" \t a b\r\n", " \t\r\n"), "a b");
    EXPECT_EQ(Trimmed("   ", " "), "");
}

}  // namespace
}  // namespace tarnwell::test
