#include "common/system/text/convert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

namespace tarnwell::test {
namespace {

using namespace std::string_view_literals;

std::u16string Wide(const CUTF16String& text) {
    return std::u16string(text.AsView());
}
std::string Narrow(const CISOString& text) {
    return std::string(text.AsView());
}

// Each input is copied into a block of exactly its size, so that a read past its end is seen by
// the address checker.
template <class Unit>
std::basic_string_view<Unit> Exact(std::basic_string_view<Unit> text, std::unique_ptr<Unit[]>& to) {
    to.reset(new Unit[text.size()]);
    std::copy(text.begin(), text.end(), to.get());
    return {to.get(), text.size()};
}

TEST(ConvertTest, Utf16FromUtf8ReplacesEveryByteThatStartsNothing) {
    const struct {
        std::string_view utf8;
        std::u16string_view utf16;
    } kCases[] = {
        {""sv, u""sv},
        {"plain"sv, u"plain"sv},
        {"a\0b"sv, u"a\0b"sv},
        {"\xC3\xA9"sv, u"\u00E9"sv},
        {"\xE2\x82\xAC"sv, u"\u20AC"sv},
        {"\xEF\xBF\xBE"sv, u"\uFFFE"sv},
        {"\xF0\x9F\x98\x80!"sv, u"\U0001F600!"sv},
        {"\xF4\x8F\xBF\xBF"sv, u"\U0010FFFF"sv},
        // Above the last code point, and the overlong forms of "/".
        {"\xF4\x90\x80\x80"sv, u"\uFFFD\uFFFD\uFFFD\uFFFD"sv},
        {"\xF5\x80\x80\x80"sv, u"\uFFFD\uFFFD\uFFFD\uFFFD"sv},
        {"\xC0\xAF"sv, u"\uFFFD\uFFFD"sv},
        {"\xE0\x80\xAF"sv, u"\uFFFD\uFFFD\uFFFD"sv},
        {"\xF0\x80\x80\xAF"sv, u"\uFFFD\uFFFD\uFFFD\uFFFD"sv},
        {"\xC1\xBF"sv, u"\uFFFD\uFFFD"sv},
        {"\xE0\x9F\xBF"sv, u"\uFFFD\uFFFD\uFFFD"sv},
        {"\xF0\x8F\xBF\xBF"sv, u"\uFFFD\uFFFD\uFFFD\uFFFD"sv},
        // Surrogates written as three bytes.
        {"\xED\xA0\x80"sv, u"\uFFFD\uFFFD\uFFFD"sv},
        {"\xED\xBF\xBF"sv, u"\uFFFD\uFFFD\uFFFD"sv},
        // Lone and cut bytes; what follows is read again from its own start.
        {"\x80"sv, u"\uFFFD"sv},
        {"\xBF\x41"sv, u"\uFFFDA"sv},
        {"\xC3"sv, u"\uFFFD"sv},
        {"\xC3\x41"sv, u"\uFFFDA"sv},
        {"\xE2\x82"sv, u"\uFFFD\uFFFD"sv},
        {"\xE2\x41\x42"sv, u"\uFFFDAB"sv},
        {"\xE2\xC3\xA9"sv, u"\uFFFD\u00E9"sv},
        {"\xF0\x9F\x98"sv, u"\uFFFD\uFFFD\uFFFD"sv},
        {"\xF0\x9F\x98\x41"sv, u"\uFFFD\uFFFD\uFFFDA"sv},
        {"\xFE\xFF"sv, u"\uFFFD\uFFFD"sv},
    };
    for (const auto& [utf8, utf16] : kCases) {
        std::unique_ptr<char[]> block;
        EXPECT_EQ(Wide(Utf16FromUtf8(Exact(utf8, block))), utf16) << testing::PrintToString(utf8);
    }
}

TEST(ConvertTest, Utf16IsReadInPairs) {
    const struct {
        std::u16string_view utf16;
        std::string_view utf8;
        std::string_view latin1;
        std::u32string_view utf32;
    } kCases[] = {
        {u""sv, ""sv, ""sv, U""sv},
        {u"a\0b"sv, "a\0b"sv, "a\0b"sv, U"a\0b"sv},
        {u"\u00E9\u00FF"sv, "\xC3\xA9\xC3\xBF"sv, "\xE9\xFF"sv, U"\u00E9\u00FF"sv},
        {u"\u0100"sv, "\xC4\x80"sv, "?"sv, U"\u0100"sv},
        {u"\U0001F600x"sv, "\xF0\x9F\x98\x80x"sv, "?x"sv, U"\U0001F600x"sv},
        {u"\U0010FFFF"sv, "\xF4\x8F\xBF\xBF"sv, "?"sv, U"\U0010FFFF"sv},
        {u"\xD83D"sv, "?"sv, "?"sv, U"\xFFFE"sv},
        {u"\xD83Dx"sv, "?x"sv, "?x"sv, U"\xFFFEx"sv},
        {u"\xDE00\xD83D"sv, "??"sv, "??"sv, U"\xFFFE\xFFFE"sv},
        {u"\xD83D\xD83D\xDE00"sv, "?\xF0\x9F\x98\x80"sv, "??"sv, U"\xFFFE\U0001F600"sv},
        {u"\xFFFE"sv, "?"sv, "?"sv, U"\xFFFE"sv},
    };
    for (const auto& [utf16, utf8, latin1, utf32] : kCases) {
        std::unique_ptr<char16_t[]> block;
        const auto exact = Exact(utf16, block);
        EXPECT_EQ(Narrow(Utf8FromUtf16(exact)), utf8) << testing::PrintToString(utf8);
        EXPECT_EQ(Narrow(Latin1FromUtf16(exact)), latin1) << testing::PrintToString(utf8);
        EXPECT_TRUE(Utf32FromUtf16(exact) == utf32) << testing::PrintToString(utf8);
    }
}

TEST(ConvertTest, EveryCodePointMakesTheRoundTrip) {
    for (char32_t codePoint = 0; codePoint <= 0x10FFFF; codePoint += codePoint < 0x3000 ? 1 : 37) {
        if (IsSurrogate(codePoint) || codePoint == kIllFormed)
            continue;
        const CISOString utf8 = CISOString().AppendCodePoint(codePoint);
        const CUTF16String utf16 = CUTF16String().AppendCodePoint(codePoint);
        ASSERT_EQ(Utf16FromUtf8(utf8), utf16) << static_cast<std::uint32_t>(codePoint);
        ASSERT_EQ(Utf8FromUtf16(utf16), utf8) << static_cast<std::uint32_t>(codePoint);
        ASSERT_EQ(Utf8FromUtf32(Utf32FromUtf16(utf16)), utf8);
    }
}

TEST(ConvertTest, Latin1IsWidenedByteByByte) {
    std::string bytes;
    std::u16string units;
    for (int value = 0; value < 256; ++value) {
        bytes += static_cast<char>(value);
        units += static_cast<char16_t>(value);
    }
    EXPECT_EQ(Wide(Utf16FromLatin1(bytes)), units);
    EXPECT_EQ(Narrow(Latin1FromUtf16(units)), bytes);
}

TEST(ConvertTest, ParseUnsignedTakesDigitsOnly) {
    const struct {
        std::string_view text;
        std::optional<std::uint32_t> value;
    } kCases[] = {{"0", 0},
                  {"8080", 8080},
                  {"000000000000000000000042", 42},
                  {"4294967295", 4294967295u},
                  {"4294967296", std::nullopt},
                  {"18446744073709551616", std::nullopt},
                  {"99999999999999999999999999", std::nullopt},
                  {"", std::nullopt},
                  {"-1", std::nullopt},
                  {"+1", std::nullopt},
                  {" 1", std::nullopt},
                  {"1 ", std::nullopt},
                  {"1\n", std::nullopt},
                  {"0x10", std::nullopt},
                  {"1.0", std::nullopt}};
    for (const auto& [text, value] : kCases)
        EXPECT_EQ(ParseUnsigned(text), value) << text;
}

TEST(ConvertTest, NumbersAndBytesBecomeText) {
    EXPECT_EQ(FromNumber(0), "0");
    EXPECT_EQ(FromNumber(65'536), "65536");
    EXPECT_EQ(FromNumber(UINT64_MAX), "18446744073709551615");
    const unsigned char bytes[] = {0x00, 0x0A, 0x9F, 0xFF};
    EXPECT_EQ(UpperHex({bytes, 4}), "000A9FFF");
    EXPECT_EQ(UpperHex({bytes, 0}), "");
    for (int unit = 0; unit < 256; ++unit) {
        const auto at = "0123456789abcdefABCDEF"sv.find(static_cast<char>(unit));
        const int value =
            at == std::string_view::npos ? -1 : static_cast<int>(at < 16 ? at : at - 6);
        EXPECT_EQ(HexValue(static_cast<char>(unit)), value) << unit;
    }
}

TEST(ConvertTest, TrimmedCutsBothEndsOnly) {
    EXPECT_EQ(Trimmed(" \t a b\r\n", " \t\r\n"), "a b");
    EXPECT_EQ(Trimmed("a", " "), "a");
    EXPECT_EQ(Trimmed("   ", " "), "");
    EXPECT_EQ(Trimmed("", " "), "");
}

}  // namespace
}  // namespace tarnwell::test
