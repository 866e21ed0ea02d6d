#include <gtest/gtest.h>

#include <string>

#include "common/crypto/element_count.h"

namespace tarnwell {
namespace {

TEST(HasMoreElements, CountsWhatAParserCouldBuild) {
    using namespace std::string_literals;
    const struct {
        std::string file;
        std::size_t elements;
    } rows[] = {
        {"", 0},
        {"\x30", 0},
        {"\x30\x00"s, 1},
        {"\x30\x04\x05\x00\x30\x00"s, 3},
        {"\x30\x02\x05\x00\x05\x00\x05\x00"s, 2},  // what follows does not count
        {"\x30\x80\x24\x80\x04\x01\x61\x00\x00\x00\x00"s + std::string(100, '\0'), 3},
        {"\x30\x81\x02\x05\x00"s, 2},
        {"\x30\x06\x1F\x81\x01\x01\x61\x05"s, 2},          // a long tag; half a header
        {"\x30\x08\x30\x04\x04\x7F\x61\x61\x05\x00"s, 3},  // hides nothing behind a lie
        {"\x30\x08\x30\x04\x24\x80\x04\x7F\x05\x00"s, 4},
        {"\x30\x89\x01"s + std::string(8, '\0'), 0},  // more than can be counted
    };
    for (const auto& row : rows) {
        const std::span file(reinterpret_cast<const unsigned char*>(row.file.data()),
                             row.file.size());
        EXPECT_FALSE(HasMoreElements(file, row.elements)) << &row - rows;
        EXPECT_TRUE(row.elements == 0 || HasMoreElements(file, row.elements - 1)) << &row - rows;
    }
}

}  // namespace
}  // namespace tarnwell
