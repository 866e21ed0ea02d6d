#include "tarnwell/core/drop_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwell {
namespace {

using namespace std::string_view_literals;

std::string Header(std::uint32_t offset, bool wide) {
    std::string header(20, '\0');
    for (std::size_t i = 0; i < 4; ++i)
        header[i] = static_cast<char>(offset >> (8 * i));
    header[16] = wide ? 1 : 0;
    return header;
}

/// A list of the units as they stand, zeros included.
std::string Wide(std::u16string_view units, std::uint32_t offset = 20) {
    std::string block = Header(offset, true);
    block.resize(std::max<std::size_t>(offset, block.size()));
    return block.append(reinterpret_cast<const char*>(units.data()), 2 * units.size());
}

std::string Narrow(std::string_view units) {
    return Header(20, false).append(units);
}

/// Reads a copy that ends exactly where its memory ends, so that the address checks of the native
/// build see the first byte read beyond it. Gives the paths, each with a "|" behind it.
std::optional<std::u16string> Read(std::string_view block) {
    const auto bytes = std::as_bytes(std::span(block));
    const std::vector<std::byte> copy(bytes.begin(), bytes.end());
    const std::optional<CDropList> list = CDropList::Open(copy);
    if (!list)
        return std::nullopt;
    std::u16string paths;
    list->ForEach([&](const DropName& name) { paths.append(name.path.AsView()).append(u"|"); });
    return paths;
}

TEST(CDropList, GivesTheNamesUpToTheFirstEmptyOne) {
    const struct {
        std::string block;
        const char16_t* paths;
    } kCases[] = {
        {Wide(u"C:\\a b\0D:\\\u00e9,\U0001F511\0\0"sv), u"C:\\a b|D:\\\u00e9,\U0001F511|"},
        {Narrow("\xe9\x80.txt\0b\0\0"sv), u"\u00e9\u0080.txt|b|"},
        {Wide(u"\xd800\u0100\u0001\0\0b\0c"sv), u"\xd800\u0100\u0001|"},
        {Wide(u"\0b\0\0"sv), u""},
        {Wide(u"a\0bc\0\0"sv, 23), u"a|bc|"},  // at an odd address
    };
    for (const auto& test : kCases)
        EXPECT_EQ(Read(test.block), test.paths);
}

TEST(CDropList, RefusesNamesOutsideTheBlockAndEveryCutOfAGoodOne) {
    for (const std::uint32_t offset : {0U, 19U, 21U, 0xFFFFFFF0U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(Read(Header(offset, true))) << offset;
        EXPECT_FALSE(Read(Header(offset, false))) << offset;
    }
    EXPECT_FALSE(Read(Wide(u"a\0\0"sv, 19)));
    for (const std::string& whole : {Wide(u"C:\\a\0D:\\b\0\0"sv), Narrow("C:\\a\0D:\\b\0\0"sv)}) {
        for (std::size_t size = 0; size < whole.size(); ++size)
            EXPECT_FALSE(Read(std::string_view(whole).substr(0, size))) << size;
    }
}

}  // namespace
}  // namespace tarnwell
