#include "common/system/net/percent.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "support/heap_checks.h"

namespace tarnwell {
namespace {

std::string Decoded(std::string_view text) {
    return std::string(PercentDecode(text).AsView());
}

TEST(PercentEncode, EscapesAllButThePlainSet) {
    const std::string plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789!()*-._~";
    for (unsigned value = 1; value < 256; ++value) {
        const auto byte = static_cast<char>(value);
        char escaped[4];
        (void)std::snprintf(escaped, sizeof escaped, "%%%02X", value);
        const bool copied = plain.find(byte) != std::string::npos;
        EXPECT_EQ(PercentEncode({&byte, 1}), copied ? std::string(1, byte).c_str() : escaped);
    }
}

TEST(PercentEncode, EncodesAFileListForTheManager) {
    EXPECT_EQ(PercentEncode("C:\\a b.txt,D:\\\xC3\xA9.txt"),
              "C%3A%5Ca%20b.txt%2CD%3A%5C%C3%A9.txt");
    EXPECT_EQ(PercentEncode(""), "");
}

TEST(PercentEncode, StopsAtTheFirstZeroByte) {
    EXPECT_EQ(PercentEncode(std::string_view("a b\0c d", 7)), "a%20b");
    EXPECT_EQ(PercentEncode(std::string_view("\0a", 2)), "");
}

TEST(PercentDecode, ReadsQueryValues) {
    struct Row {
        std::string text;
        std::string value;
    };
    const Row rows[] = {
        {"", ""},
        {"plain", "plain"},
        {"a+b%20c", "a b c"},
        {"C%3A%5Ca%20b.txt%2CD%3A%5C%C3%A9.txt", "C:\\a b.txt,D:\\\xC3\xA9.txt"},
        {"%c3%a9%C3%A9", "\xC3\xA9\xC3\xA9"},
        {"%2B%2b%25", "++%"},
        {"%00x", std::string("\0x", 2)},
        {std::string("a\0b", 3), std::string("a\0b", 3)},
        // A "%" without two characters behind it ends the text.
        {"ab%", "ab"},
        {"ab%4", "ab"},
        {"%", ""},
        {"%41%4", "A"},
        {"%%41", std::string("\0", 1) + "1"},
        // What is no pair of digits is read as far as it goes.
        {"%4gX", "\x04X"},
        {"%g4X", std::string("\0X", 2)},
        {"% 4X", "\x04X"},
        {"%-1X", "\xFFX"},
        {"%+aX", "\x0AX"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Decoded(row.text), row.value);
        const auto bytes = PercentDecodeBytes(row.text);
        EXPECT_EQ(std::string(bytes.begin(), bytes.end()), row.value);
    }
    EXPECT_EQ(PercentDecode(static_cast<const char*>(nullptr)), "");
    EXPECT_EQ(PercentDecode("a%41"), "aA");
}

TEST(PercentDecode, ReadsEveryPairAsScanfDoes) {
    for (unsigned first = 0; first < 256; first += test::Size(1U, 16U)) {
        for (unsigned second = 0; second < 256; ++second) {
            const char pair[] = {static_cast<char>(first), static_cast<char>(second), '\0'};
            // C libraries differ on "0x", and a zero byte would end what scanf sees.
            if (first == 0 || second == 0 || (first == '0' && (second | 0x20) == 'x'))
                continue;
            unsigned expected = 0;
            (void)std::sscanf(pair, "%2x", &expected);  // NOLINT(cert-err34-c): the oracle
            const std::string text = std::string("%") + pair;
            ASSERT_EQ(Decoded(text), std::string(1, static_cast<char>(expected)))
                << "characters " << first << " and " << second;
        }
    }
}

TEST(PercentDecode, UndoesTheEncodingOfEveryByte) {
    std::string all;
    for (int value = 1; value < 256; ++value)
        all.push_back(static_cast<char>(value));
    EXPECT_EQ(Decoded(PercentEncode(all)), all);
}

}  // namespace
}  // namespace tarnwell
