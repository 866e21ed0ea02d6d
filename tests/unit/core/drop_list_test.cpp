#include "tarnwell/core/drop_list.h"

#include "support/heap_checks.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tarnwell {
namespace {

using Bytes = std::vector<std::byte>;

void Append32(Bytes& block, std::uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8)
        block.push_back(static_cast<std::byte>(value >> shift));
}

Bytes Header(std::uint32_t offset, bool wide) {
    Bytes block;
    Append32(block, offset);
    Append32(block, 0);  // drop point
    Append32(block, 0);
    Append32(block, 0);  // client area
    Append32(block, wide ? 1 : 0);
    return block;
}

/// A list as written in the tables below: every unit of `units`, zeros included.
Bytes Wide(std::u16string_view units, std::uint32_t offset = 20) {
    Bytes block = Header(offset, true);
    block.resize(std::max<std::size_t>(offset, block.size()));
    for (const char16_t unit : units) {
        block.push_back(static_cast<std::byte>(unit));
        block.push_back(static_cast<std::byte>(unit >> 8));
    }
    return block;
}

Bytes Narrow(std::string_view units) {
    Bytes block = Header(20, false);
    for (const char unit : units)
        block.push_back(static_cast<std::byte>(unit));
    return block;
}

/// Opens a copy of the block that ends exactly where its memory ends, so that the address checks
/// of the native build see the first byte read beyond it.
template <class Use>
void WithExactBlock(const Bytes& block, Use&& use) {
    const auto copy = std::make_unique<std::byte[]>(block.size());
    std::copy(block.begin(), block.end(), copy.get());
    use(CDropList::Open(std::span(copy.get(), block.size())));
}

std::vector<std::u16string> Paths(const Bytes& block) {
    std::vector<std::u16string> paths;
    WithExactBlock(block, [&](const std::optional<CDropList>& list) {
        ASSERT_TRUE(list);
        list->ForEach([&](const DropName& name) { paths.emplace_back(name.path.AsView()); });
        EXPECT_EQ(paths.size(), list->Count());
    });
    return paths;
}

using namespace std::string_view_literals;

TEST(CDropList, GivesWideNamesInOrder) {
    EXPECT_EQ(Paths(Wide(u"C:\\a b.txt\0D:\\\u00e9,\U0001F511.p7\0\0"sv)),
              (std::vector<std::u16string>{u"C:\\a b.txt", u"D:\\\u00e9,\U0001F511.p7"}));
}

TEST(CDropList, WidensEachByteOfAnEightBitName) {
    const Bytes block = Narrow("C:\\\xe9\x80.txt\0b\0\0"sv);
    EXPECT_EQ(Paths(block), (std::vector<std::u16string>{u"C:\\\u00e9\u0080.txt", u"b"}));
    WithExactBlock(block, [](const std::optional<CDropList>& list) {
        EXPECT_FALSE(list->IsWide());
        std::vector<CISOString> shown;
        list->ForEach([&](const DropName& name) { shown.push_back(name.shown); });
        EXPECT_EQ(shown.front(), "C:\\\xe9\x80.txt"sv);
    });
}

TEST(CDropList, ShowsAWideNameAsUtf8) {
    WithExactBlock(Wide(u"\u00e9\xd800\0\0"sv), [](const std::optional<CDropList>& list) {
        EXPECT_TRUE(list->IsWide());
        list->ForEach([](const DropName& name) { EXPECT_EQ(name.shown, "\xc3\xa9?"sv); });
    });
}

TEST(CDropList, StopsAtTheFirstEmptyNameWhateverFollows) {
    EXPECT_EQ(Paths(Wide(u"a\0\0b\0c"sv)), std::vector<std::u16string>{u"a"});
    EXPECT_TRUE(Paths(Wide(u"\0b\0\0"sv)).empty());
}

TEST(CDropList, FollowsTheOffsetEvenToAnOddAddress) {
    EXPECT_EQ(Paths(Wide(u"a\0bc\0\0"sv, 23)), (std::vector<std::u16string>{u"a", u"bc"}));
}

TEST(CDropList, DoesNotTakeAZeroByteInsideAUnitForTheEnd) {
    EXPECT_EQ(Paths(Wide(u"\u0100\u0001\0\0"sv)), std::vector<std::u16string>{u"\u0100\u0001"});
}

TEST(CDropList, RefusesAMalformedBlock) {
    Bytes oddLength = Wide(u"ab\0\0"sv);
    oddLength.pop_back();  // half of the last zero
    Bytes loneByte = Wide(u""sv);
    loneByte.push_back(std::byte{0});
    Bytes cutHeader = Wide(u"a\0\0"sv);
    cutHeader.resize(19);

    const struct {
        const char* what;
        Bytes block;
    } kCases[] = {
        {"nothing at all", {}},
        {"shorter than the header", cutHeader},
        {"header only, wide", Wide(u""sv)},
        {"header only, 8-bit", Narrow(""sv)},
        {"half of a unit", loneByte},
        {"names inside the header",
         [] {
             Bytes block = Wide(u"a\0\0"sv);
             block[0] = std::byte{19};
             return block;
         }()},
        {"names beyond the end", Header(21, true)},
        {"names far beyond the end", Header(0xFFFFFFFF, true)},
        {"8-bit names far beyond the end", Header(0xFFFFFFF0, false)},
        {"a name without its end, wide", Wide(u"abc"sv)},
        {"a name without its end, 8-bit", Narrow("abc"sv)},
        {"no empty name, wide", Wide(u"a\0b\0"sv)},
        {"no empty name, 8-bit", Narrow("a\0b\0"sv)},
        {"odd length", oddLength},
    };
    for (const auto& test : kCases) {
        WithExactBlock(test.block, [&](const std::optional<CDropList>& list) {
            EXPECT_FALSE(list) << test.what;
        });
    }
}

TEST(CDropList, RefusesEveryCutOfAGoodBlock) {
    for (const Bytes& whole : {Wide(u"C:\\a\0D:\\b\0\0"sv), Narrow("C:\\a\0D:\\b\0\0"sv)}) {
        for (std::size_t size = 0; size < whole.size(); ++size) {
            const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
            WithExactBlock(cut, [&](const std::optional<CDropList>& list) {
                EXPECT_FALSE(list) << size << " of " << whole.size();
            });
        }
    }
}

TEST(CDropList, WalksThousandsOfLongNames) {
    const std::size_t count = test::Size<std::size_t>(5000, 500);
    std::u16string units;
    for (std::size_t i = 0; i < count; ++i) {
        units += std::u16string(144, u'x') + std::u16string(1, static_cast<char16_t>(i + 1));
        units += u'\0';
    }
    units += u'\0';
    const std::vector<std::u16string> paths = Paths(Wide(units));
    ASSERT_EQ(paths.size(), count);
    EXPECT_EQ(paths.back().back(), static_cast<char16_t>(count));
}

}  // namespace
}  // namespace tarnwell
