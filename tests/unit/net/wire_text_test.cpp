// The texts of the protocol one by one: addresses, lines of a head, percent coding, error texts.

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "common/system/net/http_head.h"
#include "common/system/net/http_url.h"
#include "common/system/net/percent.h"
#include "common/system/net/socket_error_text.h"

namespace tarnwell {
namespace {

using namespace std::string_literals;

TEST(CHttpUrl, SplitsAnAddress) {
    // The parts: whether it is valid, port, scheme, host and path.
    const std::pair<std::string, std::string> rows[] = {
        {"http://127.0.0.1:0080", "1 80 http 127.0.0.1 /"},
        {"https://host", "1 443 https host /"},
        {"HTTPS://Host/a/b?x=1&y=:2#f", "1 80 HTTPS Host /a/b?x=1&y=:2#f"},
        {"http://h:4294967295", "1 4294967295 http h /"},
        {"http://h:4294967296", "0 0 http h /"},
        {"http://h:80x/p", "0 0 http h /p"},
        {"http://h:80\0/x"s, "0 0 http h /x"},
        {"http://[::1]:80/", "0 0 http [ /"},
        {"http:/host", "0 0   "},
    };
    for (const auto& [text, parts] : rows) {
        const CHttpUrl url = CHttpUrl::Parse(text);
        EXPECT_EQ(std::to_string(url.valid) + " " + std::to_string(url.port) + " " +
                      (url.scheme + " " + url.host + " " + url.path).CStr(),
                  parts);
    }
}

TEST(ParseStatusLine, ReadsHttpOneOnly) {
    const std::pair<const char*, CStatusLine> good[] = {
        {"HTTP/1.1 404 Not Found at all", {404, "Not Found at all"}},
        {"HTTP/1.0 200", {200, ""}},
        {"HTTP/1.x 4294967295  x", {4294967295U, " x"}},
    };
    for (const auto& [line, expected] : good) {
        const CStatusLine status = ParseStatusLine(line).value();
        EXPECT_EQ(std::pair(status.code, status.reason), std::pair(expected.code, expected.reason));
    }
    for (const char* line : {"", "HTTP/1.1", "HTTP/1.1 ", "HTTP/1.1 OK", "HTTP/1.1  200 OK",
                             "HTTP/1.10 200 OK", "HTTP/1. 200 OK", "HTTP/2.0 200 OK",
                             "http/1.1 200 OK", "HTTP/1.1 -1 x", "HTTP/1.1 4294967296 x"})
        EXPECT_FALSE(ParseStatusLine(line)) << line;
}

TEST(PercentEncode, EscapesAllButThePlainSetUpToAZeroByte) {
    EXPECT_EQ(PercentEncode("C:\\a b,\xC3\xA9'/~\0c"s), "C%3A%5Ca%20b%2C%C3%A9%27%2F~");
    const char* plain = "!()*-.0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz~";
    EXPECT_EQ(PercentEncode(plain), plain);
}

TEST(PercentDecode, ReadsQueryValues) {
    const std::pair<std::string, std::string> rows[] = {
        {"a+b%20c%2B%2b%c3%A9", "a b c++\xC3\xA9"},
        {"%00x\0y"s, "\0x\0y"s},
        // A "%" without two characters behind it ends the text.
        {"ab%", "ab"},
        {"%41%4", "A"},
        // What is no pair of digits is read as far as it goes.
        {"%%41%g4X", "\0001\0X"s},
        {"%4gX%\t4X", "\x04X\x04X"},
        {"%-1%+a", "\xFF\x0A"},
    };
    for (const auto& [text, value] : rows) {
        EXPECT_EQ(PercentDecode(text), value) << text;
        const auto bytes = PercentDecodeBytes(text);
        EXPECT_EQ(std::string(bytes.begin(), bytes.end()), value) << text;
    }
    constexpr const char* kNothing = nullptr;
    EXPECT_EQ(PercentDecode(kNothing), "");
    EXPECT_TRUE(PercentDecodeBytes(kNothing).empty());
}

TEST(SocketErrorText, SaysWhatHappened) {
    EXPECT_STREQ(SocketErrorText(0), "No error");
    EXPECT_STREQ(SocketErrorText(11004), "No host data of that type was found");
    for (const int code : {-1, 10072, 11005})
        EXPECT_STREQ(SocketErrorText(code), "Undefined error");
}

}  // namespace
}  // namespace tarnwell
