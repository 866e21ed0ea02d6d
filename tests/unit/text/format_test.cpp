#include "common/system/text/format.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace tarnwell::test {
namespace {

using Args = CTFmtArgs<CISOEncoding>;
using WideArgs = CTFmtArgs<CUTF16Encoding>;

TEST(CTFmtArgsTest, ExpandsTemplates) {
    const Args arguments = Args().Add(std::int32_t{3}).Add("files");
    const struct {
        const char* text;
        const char* expanded;
    } kCases[] = {
        {"", ""},
        {"no placeholder", "no placeholder"},
        {"%1 of %2", "3 of files"},
        {"%2%1%2", "files3files"},
        {"100%%", "100%"},
        {"%%1", "%1"},
        {"%12", "32"},
        {"%1!%2", ""},  // an opened specification that is never closed
        {"%1!04x!,", "0003,"},
        {"%2!s!;%2!08x!;%2!!", "files;files;files"},
        {"a%3b%9c", "abc"},
        {"a%3!08x!b", "ab"},
        // The text stops where a specification or a "%" is left open.
        {"ab%1!x", "ab"},
        {"ab%1!", "ab"},
        {"ab%9!x", "ab"},
        {"ab%", "ab"},
        {"ab%%%", "ab%"},
        // "%" before anything else: both are dropped.
        {"a%0b%xc% d", "abcd"},
        {"a%!b", "ab"},
        {"%\xC3\xA9", "\xA9"},
    };
    for (const auto& [text, expanded] : kCases)
        EXPECT_STREQ(arguments.Format(text).CStr(), expanded) << text;
    EXPECT_EQ(arguments.Format(std::string_view("a\0%1", 4)), std::string_view("a\0"
                                                                               "3",
                                                                               3));
}

TEST(CTFmtArgsTest, ReachesNineArguments) {
    Args arguments;
    for (std::int32_t i = 1; i <= 12; ++i)
        arguments.Add(i * 11);
    EXPECT_EQ(arguments.Format("%1 %2 %3 %4 %5 %6 %7 %8 %9"), "11 22 33 44 55 66 77 88 99");
    EXPECT_EQ(arguments.Argument(11), "132");
    EXPECT_EQ(arguments.Argument(12), "");
    EXPECT_EQ(arguments.Argument(SIZE_MAX, "x"), "");
}

TEST(CTFmtArgsTest, ArgumentsAreNotExpandedAgain) {
    EXPECT_EQ(Args().Add("%2").Add("x").Format("%1%%%2"), "%2%x");
}

TEST(CTFmtArgsTest, WorksTheSameInUtf16) {
    const WideArgs arguments = WideArgs().Add(std::uint32_t{255}).Add(u"\u00E9t\u00E9");
    const struct {
        const char16_t* text;
        const char16_t* expanded;
    } kCases[] = {
        {u"%1!04x!", u"00ff"},
        {u"%2 %1 100%%", u"\u00E9t\u00E9 255 100%"},
        {u"%1!\u00E9x!", u"255"},
        {u"%1!\u0178!", u"255"},
        {u"\u0131%\u0131", u"\u0131"},  // a unit whose low byte is "1" is no placeholder
        {u"ab%1!x", u"ab"},
    };
    for (const auto& [text, expanded] : kCases)
        EXPECT_TRUE(arguments.Format(text) == expanded);
}

TEST(CTFmtArgsTest, TakesIntegersOfAnyWidth) {
    EXPECT_EQ(Args().Add(UINT64_MAX).Format("%1"), "18446744073709551615");
    EXPECT_EQ(Args().Add(INT64_MIN).Format("%1"), "-9223372036854775808");
    EXPECT_EQ(Args().Add(INT32_MIN).Format("%1"), "-2147483648");
    EXPECT_EQ(Args().Add(static_cast<unsigned short>(65'535)).Format("%1"), "65535");
    EXPECT_TRUE(WideArgs().Add(UINT32_MAX).Format(u"%1") == u"4294967295");
}

TEST(CTFmtArgsTest, CopiesShareTheListUntilOneAdds) {
    Args first = Args().Add("one");
    Args second = first;
    second.Add("two");
    first.Add("three");
    EXPECT_EQ(first.Format("%1 %2 %3"), "one three ");
    EXPECT_EQ(second.Format("%1 %2 %3"), "one two ");
    Args third;
    third = second;
    second = Args();
    EXPECT_EQ(third.Count(), 2u);
    EXPECT_EQ(second.Count(), 0u);
}

TEST(CTFmtArgsTest, ALongListOfFilesIsExpandedWhole) {
    CISOString files;
    for (int i = 0; i < 100'000; ++i)
        files.Append("C%3A%5Cfile,");
    const CISOString address = Args().Add(12345).Add("SIGN").Add(files).Format(
        "http://127.0.0.1:%1/dyn/tarnwell_init?action=%2&files=%3");
    EXPECT_TRUE(address.StartsWith("http://127.0.0.1:12345/dyn/tarnwell_init?action=SIGN&files=C"));
    EXPECT_EQ(address.Length(), 59 + files.Length());
}

// --- Numbers ---------------------------------------------------------------------------------

template <class Integer>
std::string Formatted(Integer value, const std::string& specification) {
    NumberSpecification narrow;
    for (const char unit : specification)
        narrow.Add(static_cast<unsigned char>(unit));
    const NumberText text = FormatNumber(narrow, NumberValue(value));
    return std::string(text.units, text.length);
}

TEST(FormatNumberTest, FollowsPrintf) {
    const struct {
        std::int32_t value;
        const char* specification;
        const char* text;
    } kCases[] = {
        {255, "x", "ff"},
        {255, "X", "FF"},
        {255, "#x", "0xff"},
        {255, "o", "377"},
        {255, "#o", "0377"},
        {255, "08x", "000000ff"},
        {42, "5d", "   42"},
        {42, "-5d|", "42   |"},
        {42, "05d", "00042"},
        {42, "+d", "+42"},
        {42, " d", " 42"},
        {42, "+ d", "+42"},
        {-42, "05d", "-0042"},
        {42, ".5d", "00042"},
        {42, "8.5d", "   00042"},
        {42, "08.5d", "   00042"},
        {0, ".0d", ""},
        {0, ".d", ""},
        {-1, "x", "ffffffff"},
        {-1, "u", "4294967295"},
        {-1, "d", "-1"},
        {65, "c", "A"},
        {65, "3c", "  A"},
        {65, "-3c|", "A  |"},
        {255, "x items", "ff items"},
    };
    for (const auto& [value, specification, text] : kCases)
        EXPECT_EQ(Formatted(value, specification), text) << specification;
    EXPECT_EQ(Formatted(UINT32_MAX, "d"), "-1") << "the same bits read as signed";
    EXPECT_EQ(Formatted(UINT64_MAX, "x"), "ffffffffffffffff");
    EXPECT_EQ(Formatted(UINT64_MAX, "d"), "-1");
    EXPECT_EQ(Formatted(UINT64_MAX, "o"), "1777777777777777777777");
}

TEST(FormatNumberTest, ALengthModifierChangesNothing) {
    for (const std::string modifier : {"hh", "h", "l", "ll", "j", "z", "t", "I64", "I32"}) {
        EXPECT_EQ(Formatted(UINT64_MAX - 1, modifier + "x"), "fffffffffffffffe") << modifier;
        EXPECT_EQ(Formatted(std::int32_t{-70'000}, "09" + modifier + "d"), "-00070000") << modifier;
    }
}

TEST(FormatNumberTest, WhatIsNoIntegerConversionGivesPlainDecimal) {
    const std::string wide(200, '0');
    for (const std::string specification : {"",
                                            "n",
                                            "hhn",
                                            "lln",
                                            "s",
                                            "ls",
                                            "S",
                                            "p",
                                            "f",
                                            "Lf",
                                            "e",
                                            "a",
                                            "*d",
                                            "-*d",
                                            ".*d",
                                            "*n",
                                            "1$d",
                                            "'d",
                                            "08",
                                            "l",
                                            "%",
                                            "d%n",
                                            "d%s",
                                            "x%%",
                                            "ld n%",
                                            "08xl%n",
                                            "hhhd",
                                            "lllx",
                                            "C",
                                            "lc%",
                                            "\x01"
                                            "d",
                                            "d\xC3\xA9",
                                            "d\x7F",
                                            "+-#0 9999999999.9999999999"})
        EXPECT_EQ(Formatted(std::int32_t{-42}, specification), "-42") << specification;
    EXPECT_EQ(Formatted(std::int32_t{-42}, wide + "d"), "-42") << "too long to be meant";
    EXPECT_EQ(Formatted(std::int32_t{-1}, "c"), "-1");
    EXPECT_EQ(Formatted(std::int32_t{0}, "c"), "0");
    EXPECT_EQ(Formatted(std::int32_t{233}, "c"), "233");
    EXPECT_EQ(Formatted(UINT64_MAX, ""), "18446744073709551615");
}

TEST(FormatNumberTest, LongTextIsCutAfter39Units) {
    const std::string blanks(39, ' ');
    const std::string zeros(39, '0');
    const struct {
        const char* specification;
        std::string text;
    } kCases[] = {
        {"39d", blanks.substr(2) + "42"},
        {"40d", blanks.substr(1) + "4"},
        {"41d", blanks},
        {"2147483647d", blanks},
        {"2147483648d", blanks},
        {"99999999999999999999999d", blanks},
        {"-99999999999999999999999d", "42" + blanks.substr(2)},
        {"099999999999999999999999x", zeros},
        {".99999999999999999999999d", zeros},
        {"+.99999999999999999999999d", "+" + zeros.substr(1)},
        {"60.50d", blanks.substr(0, 10) + zeros.substr(10)},
        {"99999999999c", blanks},
        {"d this tail is longer than forty units by far",
         "42 this tail is longer than forty units"},
    };
    for (const auto& [specification, text] : kCases)
        EXPECT_EQ(Formatted(std::int32_t{42}, specification), text) << specification;
}

}  // namespace
}  // namespace tarnwell::test
