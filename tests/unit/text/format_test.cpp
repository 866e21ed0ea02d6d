#include "common/system/text/format.h"

#include <gtest/gtest.h>

namespace tarnwell::test {
namespace {

using Args = CTFmtArgs<CISOEncoding>;
using WideArgs = CTFmtArgs<CUTF16Encoding>;

TEST(CTFmtArgsTest, ExpandsTemplates) {
    const Args arguments = Args().Add(std::int32_t{3}).Add("files, not %1");
    const std::pair<std::string_view, std::string_view> kCases[] = {
        {"%1 of %2", "3 of files, not %1"},
        {"100%% %%1", "100% %1"},
        {"%12", "32"},
        {"%1!04x!,%2!08x!;%1!!", "0003,files, not %1;3"},
        {"a%3b%9!08x!c", "abc"},
        // The text stops where a specification or a "%" is left open.
        {"ab%1!x", "ab"},
        {"ab%%%", "ab%"},
        // "%" before anything else: both are dropped.
        {"a%0b%xc% d%!e", "abcde"},
        {"%\xC3\xA9", "\xA9"},
        {{"a\0%1", 4}, {"a\0003", 3}},
    };
    for (const auto& [text, expanded] : kCases)
        EXPECT_EQ(arguments.Format(text), expanded) << text;
    const WideArgs wide = WideArgs().Add(std::uint32_t{255}).Add(u"\u00E9");
    // A unit whose low byte is "1" is no placeholder, one above ASCII spoils a specification.
    EXPECT_TRUE(wide.Format(u"%1!04x! %2%% \u0131%\u0131 %1!\u0178!") ==
                u"00ff \u00E9% \u0131 255");
}

TEST(CTFmtArgsTest, ReachesNineArgumentsOfAnyWidth) {
    Args arguments = Args().Add(UINT64_MAX).Add(INT64_MIN).Add(static_cast<unsigned short>(65'535));
    for (std::int32_t i = 4; i <= 12; ++i)
        arguments.Add(i);
    EXPECT_EQ(arguments.Format("%1 %2 %3 %4 %5 %6 %7 %8 %9"),
              "18446744073709551615 -9223372036854775808 65535 4 5 6 7 8 9");
    EXPECT_EQ(arguments.Argument(11), "12");
    EXPECT_EQ(arguments.Argument(SIZE_MAX, "x"), "");
}

TEST(CTFmtArgsTest, CopiesShareTheListUntilOneAdds) {
    Args first = Args().Add("one");
    Args second = first;
    second.Add("two");
    first.Add("three");
    EXPECT_EQ(first.Format("%1 %2 %3"), "one three ");
    EXPECT_EQ(second.Format("%1 %2 %3"), "one two ");
}

// --- Numbers ---------------------------------------------------------------------------------

template <class Integer>
CISOString Formatted(Integer value, std::string_view specification) {
    return Args().Add(value).Argument(0, specification);
}

TEST(FormatNumberTest, FollowsPrintfWithin39Units) {
    const std::string blanks(39, ' ');
    const std::string zeros(39, '0');
    const struct {
        std::int32_t value;
        const char* specification;
        std::string text;
    } kCases[] = {
        {255, "#x", "0xff"},
        {255, "#o", "0377"},
        {255, "08x items", "000000ff items"},
        {42, "-5d|", "42   |"},
        {42, "+d", "+42"},
        {42, " i", " 42"},
        {42, "08.5d", "   00042"},
        {0, ".d", ""},
        {-1, "u", "4294967295"},
        {65, "-3c|", "A  |"},
        {42, "40d", blanks.substr(1) + "4"},
        {42, "2147483648d", blanks},
        {42, "-99999999999999999999999d", "42" + blanks.substr(2)},
        {42, "+.99999999999999999999999d", "+" + zeros.substr(1)},
        {42, "60.50d", blanks.substr(0, 10) + zeros.substr(10)},
        {42, "d this tail is longer than forty units by far",
         "42 this tail is longer than forty units"},
    };
    for (const auto& [value, specification, text] : kCases)
        EXPECT_EQ(Formatted(value, specification), text) << specification;
    EXPECT_EQ(Formatted(UINT32_MAX, "d"), "-1") << "the same bits read as signed";
    EXPECT_EQ(Formatted(UINT64_MAX, "o"), "1777777777777777777777");
    for (const std::string modifier : {"hh", "h", "l", "ll", "j", "z", "t", "I64", "I32"})
        EXPECT_EQ(Formatted(UINT64_MAX - 1, modifier + "x"), "fffffffffffffffe") << modifier;
}

TEST(FormatNumberTest, WhatIsNoIntegerConversionGivesPlainDecimal) {
    const std::string tooLong(200, '0');
    for (const char* specification :
         {"",  "n", "hhn", "ls",  "p",      "f",    "*d", ".*d",  "1$d",       "'d",   "08",
          "l", "%", "d%n", "x%%", "08xl%n", "hhhd", "C",  "\x01", "d\xC3\xA9", "d\x7F"})
        EXPECT_EQ(Formatted(std::int32_t{-42}, specification), "-42") << specification;
    EXPECT_EQ(Formatted(std::int32_t{-42}, tooLong + "d"), "-42");
    for (const std::int32_t noCharacter : {-1, 0, 233})
        EXPECT_EQ(Formatted(noCharacter, "c"), std::to_string(noCharacter));
}

}  // namespace
}  // namespace tarnwell::test
