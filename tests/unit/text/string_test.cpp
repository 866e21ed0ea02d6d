#include "common/system/text/string.h"

#include <gtest/gtest.h>

namespace tarnwell::test {
namespace {

static_assert(!std::is_constructible_v<CISOString, std::nullptr_t>);

template <class Encoding>
class CTStringTest : public testing::Test {
protected:
    using String = CTString<Encoding>;
    using Unit = typename Encoding::Unit;

    static String Of(std::string_view ascii) {
        String text;
        for (const char unit : ascii)
            text.AppendUnit(static_cast<Unit>(unit));
        return text;
    }
    static bool IsWiped(const volatile Unit* units, std::size_t length) {
        // The first eight bytes may hold the link of a free list.
        return std::all_of(units + 8 / sizeof(Unit), units + length,
                           [](Unit unit) { return unit == 0; });
    }
};
using Encodings = testing::Types<CISOEncoding, CUTF16Encoding, CUTF32Encoding>;
TYPED_TEST_SUITE(CTStringTest, Encodings);

TYPED_TEST(CTStringTest, AnEmptyStringEndsInAZeroTooAndEmbeddedOnesAreKept) {
    const typename TestFixture::Unit* const none = nullptr;
    EXPECT_TRUE(typename TestFixture::String(none).IsEmpty());
    EXPECT_EQ(TestFixture::Of("").CStr()[0], 0);
    const auto text = TestFixture::Of(std::string_view("a\0b", 3));
    EXPECT_EQ((text + text).Length(), 6u);
    EXPECT_FALSE(text == TestFixture::Of("a"));
}

TYPED_TEST(CTStringTest, ASmallerCapacityGrowsByHalfOfItself) {
    const std::size_t kCases[][3] = {{0, 10, 10},  {10, 10, 10}, {10, 9, 10},        {10, 12, 17},
                                     {10, 11, 16}, {11, 12, 18}, {100, 1'000, 1'050}};
    for (const auto& [old, needed, capacity] : kCases) {
        auto text = TestFixture::Of("");
        text.Reserve(old);
        text.Append(TestFixture::Of(std::string(needed, 'x')));
        EXPECT_EQ(text.Capacity(), capacity) << old << " to " << needed;
    }
    EXPECT_THROW(TestFixture::Of("x").Reserve((std::size_t{1} << 30) + 1), std::length_error);
}

TYPED_TEST(CTStringTest, CopiesShareUntilOneIsWritten) {
    const auto first = TestFixture::Of("shared");
    auto second = first;
    EXPECT_EQ(first.CStr(), second.CStr());
    second.AppendUnit('!');
    EXPECT_EQ(first, TestFixture::Of("shared"));
    EXPECT_EQ(second, TestFixture::Of("shared!"));
    auto third = second;
    third.Reserve(1);
    EXPECT_NE(third.CStr(), second.CStr()) << "a reserved string is its owner's alone";
    EXPECT_EQ(third, second);
}

TYPED_TEST(CTStringTest, AStringTakesItselfAndItsPartsIn) {
    auto text = TestFixture::Of("abc");
    text.Append(text);
    text.Append(text.AsView().substr(4));
    EXPECT_EQ(text, TestFixture::Of("abcabcbc"));
    text.Reserve(100);
    text.Append(text.AsView().substr(1, 2));
    auto& self = text;
    text = std::move(self);
    text = self;  // NOLINT(bugprone-use-after-move): that is the point
    EXPECT_EQ(text, TestFixture::Of("abcabcbcbc"));
}

TYPED_TEST(CTStringTest, UnitsAreWipedWhenTheStringGrowsAndWithItsLastCopy) {
    auto text = TestFixture::Of("a secret that nobody else may see later");
    const auto length = text.Length();
    const auto* units = text.CStr();
    text.Reserve(1'000);
    EXPECT_TRUE(this->IsWiped(units, length));
    auto copy = text;
    units = text.CStr();
    text.Clear();
    EXPECT_EQ(copy.CStr()[length - 1], 'r') << "the copy still holds it";
    copy.Clear();
    EXPECT_TRUE(this->IsWiped(units, length));
}

TYPED_TEST(CTStringTest, ComparesUnitByUnitAndTakesPartsWithinItsBounds) {
    const auto text = TestFixture::Of("0123456789");
    EXPECT_TRUE(text.StartsWith(TestFixture::Of("01")));
    EXPECT_FALSE(text.StartsWith(TestFixture::Of("0123456789!")));
    EXPECT_NE(text, TestFixture::Of("012345678"));
    EXPECT_LT(TestFixture::Of("abc"), TestFixture::Of("abca"));
    EXPECT_EQ(text.Sub(3, 4), TestFixture::Of("3456"));
    EXPECT_EQ(text.Sub(8, 40), TestFixture::Of("89"));
    EXPECT_EQ(text.Sub(11, 1), TestFixture::Of(""));
}

TEST(CTStringAppendTest, CodePointsAreEncodedOrReplaced) {
    const struct {
        char32_t codePoint;
        std::string_view utf8;
        std::u16string_view utf16;
    } kCases[] = {
        {0xD800, "?", u"\xD800"},
        {0xFFFE, "?", u"\xFFFE"},
        {0xFFFF, "\xEF\xBF\xBF", u"\xFFFF"},
        {0x10000, "\xF0\x90\x80\x80", u"\U00010000"},
        {0x10FFFF, "\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
        {0x110000, "\xF4\x90\x80\x80", u"?"},
        {0x1FFFFF, "\xF7\xBF\xBF\xBF", u"?"},
        {0x200000, "?", u"?"},
    };
    for (const auto& [codePoint, utf8, utf16] : kCases) {
        EXPECT_EQ(CISOString().AppendCodePoint(codePoint), utf8);
        EXPECT_TRUE(CUTF16String().AppendCodePoint(codePoint) == utf16) << utf8;
    }
}

}  // namespace
}  // namespace tarnwell::test
