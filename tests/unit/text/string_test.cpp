#include "common/system/text/string.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <type_traits>

#include "common/system/text/exception.h"

namespace tarnwell::test {
namespace {

static_assert(!std::is_constructible_v<CISOString, std::nullptr_t>);
static_assert(std::is_nothrow_move_constructible_v<CISOString>);

template <class Encoding>
class CTStringTest : public testing::Test {
protected:
    using String = CTString<Encoding>;
    using Unit = typename Encoding::Unit;

    static String Of(const std::string& ascii) {
        String text;
        for (const char unit : ascii)
            text.AppendUnit(static_cast<Unit>(unit));
        return text;
    }
};

struct EncodingNames {
    template <class Encoding>
    static std::string GetName(int) {
        return std::to_string(8 * sizeof(typename Encoding::Unit)) + "Bit";
    }
};
using Encodings = testing::Types<CISOEncoding, CUTF16Encoding, CUTF32Encoding>;
TYPED_TEST_SUITE(CTStringTest, Encodings, EncodingNames);

TYPED_TEST(CTStringTest, AnEmptyStringEndsInAZeroToo) {
    const typename TestFixture::String text;
    EXPECT_EQ(text.Length(), 0u);
    EXPECT_EQ(text.CStr()[0], 0);
    EXPECT_EQ(text, TestFixture::Of(""));
    const typename TestFixture::Unit* const none = nullptr;
    EXPECT_TRUE(typename TestFixture::String(none).IsEmpty());
    EXPECT_TRUE(text == none);
}

TYPED_TEST(CTStringTest, ASmallerCapacityGrowsByHalfOfItself) {
    const struct {
        std::size_t old;
        std::size_t needed;
        std::size_t capacity;
    } kCases[] = {{0, 1, 1},    {0, 10, 10},  {10, 10, 10}, {10, 9, 10},
                  {10, 12, 17}, {10, 11, 16}, {11, 12, 18}, {100, 1'000, 1'050}};
    for (const auto& [old, needed, capacity] : kCases) {
        auto text = TestFixture::Of("");
        text.Reserve(old);
        text.Reserve(needed);
        EXPECT_EQ(text.Capacity(), capacity) << old << " to " << needed;
    }
    auto text = TestFixture::Of("");
    text.Reserve(10);
    text.Append(TestFixture::Of("123456789012"));
    EXPECT_EQ(text.Capacity(), 17u);
    EXPECT_EQ(text, TestFixture::Of("123456789012"));
}

TYPED_TEST(CTStringTest, CopiesShareUntilOneIsWritten) {
    auto first = TestFixture::Of("shared");
    auto second = first;
    EXPECT_EQ(first.CStr(), second.CStr());
    second.AppendUnit('!');
    EXPECT_NE(first.CStr(), second.CStr());
    EXPECT_EQ(first, TestFixture::Of("shared"));
    EXPECT_EQ(second, TestFixture::Of("shared!"));
    auto third = second;
    third.Reserve(1);
    EXPECT_NE(third.CStr(), second.CStr()) << "a reserved string is its owner's alone";
    EXPECT_EQ(third, second);
    const auto moved = std::move(third);
    EXPECT_EQ(moved, second);
}

TYPED_TEST(CTStringTest, AStringTakesItselfAndItsPartsIn) {
    auto text = TestFixture::Of("abc");
    text.Append(text);
    text.Append(text.AsView().substr(4));
    text.Append(text.AsView().substr(0, 2));
    EXPECT_EQ(text, TestFixture::Of("abcabcbcab"));
    text.Reserve(100);
    text.Append(text.AsView().substr(1, 2));
    EXPECT_EQ(text, TestFixture::Of("abcabcbcabbc"));
    const auto& alias = text;
    text = alias;
    EXPECT_EQ(text.Length(), 12u);
    auto& self = text;
    text = std::move(self);
    EXPECT_EQ(text.Length(), 12u);
}

TYPED_TEST(CTStringTest, TheLastReleaseWipesTheUnits) {
    auto first = TestFixture::Of("a secret that nobody else may see later");
    auto second = first;
    const auto* units = first.CStr();
    const auto length = first.Length();
    first.Clear();
    EXPECT_EQ(units[0], 'a') << "the copy still holds it";
    second.Clear();
    const volatile auto* after = units;
    // The first eight bytes may hold the link of a free list.
    for (std::size_t i = 8 / sizeof(*units); i < length; ++i)
        ASSERT_EQ(after[i], 0u) << i;
}

TYPED_TEST(CTStringTest, GrowingWipesTheOldUnits) {
    auto text = TestFixture::Of("a secret that nobody else may see later");
    text.Reserve(text.Length());
    const volatile auto* before = text.CStr();
    const auto length = text.Length();
    text.Reserve(1'000);
    for (std::size_t i = 8 / sizeof(*before); i < length; ++i)
        ASSERT_EQ(before[i], 0u) << i;
}

TYPED_TEST(CTStringTest, ComparesUnitByUnit) {
    const auto text = TestFixture::Of("prefix and more");
    EXPECT_TRUE(text.StartsWith(TestFixture::Of("prefix")));
    EXPECT_TRUE(text.StartsWith(TestFixture::Of("")));
    EXPECT_TRUE(text.StartsWith(text));
    EXPECT_FALSE(text.StartsWith(TestFixture::Of("Prefix")));
    EXPECT_FALSE(text.StartsWith(TestFixture::Of("prefix and more!")));
    EXPECT_EQ(text, TestFixture::Of("prefix and more"));
    EXPECT_NE(text, TestFixture::Of("prefix and mor"));
    EXPECT_NE(text, TestFixture::Of("prefix and morE"));
    EXPECT_LT(TestFixture::Of("abc"), TestFixture::Of("abd"));
    EXPECT_LT(TestFixture::Of("abc"), TestFixture::Of("abca"));
}

TYPED_TEST(CTStringTest, TakesPartsWithinItsBounds) {
    const auto text = TestFixture::Of("0123456789");
    EXPECT_EQ(text.Sub(3, 4), TestFixture::Of("3456"));
    EXPECT_EQ(text.Sub(8, 40), TestFixture::Of("89"));
    EXPECT_EQ(text.Sub(8), TestFixture::Of("89"));
    EXPECT_EQ(text.Sub(10), TestFixture::Of(""));
    EXPECT_EQ(text.Sub(11, 1), TestFixture::Of(""));
    EXPECT_EQ(text.Find('5'), 5u);
    EXPECT_EQ(text.Find('5', 6), TestFixture::String::npos);
    EXPECT_EQ(text.Find(TestFixture::Of("78")), 7u);
    EXPECT_EQ(text.Find(TestFixture::Of("x"), 99), TestFixture::String::npos);
    EXPECT_EQ(text.FindLast('0'), 0u);
}

TYPED_TEST(CTStringTest, ATextBeyondTheLimitIsRefusedBeforeAnyMemoryIsTaken) {
    auto text = TestFixture::Of("x");
    EXPECT_THROW(text.Reserve((std::size_t{1} << 30) + 1), std::length_error);
    EXPECT_THROW(text.Reserve(SIZE_MAX), std::length_error);
    EXPECT_EQ(text, TestFixture::Of("x"));
}

TEST(CTStringAppendTest, CodePointsIn8BitStringsAreUtf8) {
    const struct {
        char32_t codePoint;
        const char* units;
    } kCases[] = {{0x41, "A"},
                  {0x7F, "\x7F"},
                  {0x80, "\xC2\x80"},
                  {0x7FF, "\xDF\xBF"},
                  {0x800, "\xE0\xA0\x80"},
                  {0xD7FF, "\xED\x9F\xBF"},
                  {0xD800, "?"},
                  {0xDFFF, "?"},
                  {0xE000, "\xEE\x80\x80"},
                  {0xFFFD, "\xEF\xBF\xBD"},
                  {0xFFFE, "?"},
                  {0xFFFF, "\xEF\xBF\xBF"},
                  {0x10000, "\xF0\x90\x80\x80"},
                  {0x10FFFF, "\xF4\x8F\xBF\xBF"},
                  {0x110000, "\xF4\x90\x80\x80"},
                  {0x1FFFFF, "\xF7\xBF\xBF\xBF"},
                  {0x200000, "?"},
                  {0xFFFFFFFF, "?"}};
    for (const auto& [codePoint, units] : kCases)
        EXPECT_EQ(CISOString().AppendCodePoint(codePoint), units)
            << static_cast<std::uint32_t>(codePoint);
    EXPECT_EQ(CISOString().AppendCodePoint(0), CISOString("\0", 1));
}

TEST(CTStringAppendTest, CodePointsIn16BitStringsAreUnitsOrPairs) {
    const struct {
        char32_t codePoint;
        std::u16string_view units;
    } kCases[] = {{0xE9, u"\u00E9"},         {0xFFFF, u"\uFFFF"}, {0x10000, u"\U00010000"},
                  {0x10FFFF, u"\U0010FFFF"}, {0x110000, u"?"},    {0xFFFFFFFF, u"?"}};
    for (const auto& [codePoint, units] : kCases)
        EXPECT_EQ(CUTF16String().AppendCodePoint(codePoint), units)
            << static_cast<std::uint32_t>(codePoint);
}

TEST(CTStringAppendTest, EmbeddedZerosAreKept) {
    const CISOString text("a\0b", 3);
    EXPECT_EQ(text.Length(), 3u);
    EXPECT_EQ((text + CISOString("\0", 1) + "c").Length(), 5u);
    EXPECT_EQ(text.AsView(), std::string_view("a\0b", 3));
    EXPECT_FALSE(text == "a");
}

TEST(CExceptionTest, CarriesItsMessage) {
    try {
        throw CException("what happened");
    } catch (const std::exception& caught) {
        EXPECT_STREQ(caught.what(), "what happened");
    }
}

}  // namespace
}  // namespace tarnwell::test
