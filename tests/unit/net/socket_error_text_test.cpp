#include "common/system/net/socket_error_text.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace tarnwell {
namespace {

TEST(SocketErrorText, KnowsEveryDocumentedCodeAndNoOther) {
    std::set<int> known = {0,     10004, 10009, 10013, 10014, 10022, 10024,
                           10091, 10092, 10093, 10101, 11001, 11004};
    for (int code = 10035; code <= 10071; ++code)
        known.insert(code);
    std::set<std::string> texts;
    for (int code = -1; code <= 12000; ++code) {
        const bool undefined = std::string(SocketErrorText(code)) == "Undefined error";
        EXPECT_EQ(undefined, !known.contains(code)) << code;
        if (!undefined)
            texts.insert(SocketErrorText(code));
    }
    EXPECT_EQ(texts.size(), known.size()) << "two codes share a text";
}

TEST(SocketErrorText, SaysWhatHappened) {
    EXPECT_STREQ(SocketErrorText(0), "No error");
    EXPECT_STREQ(SocketErrorText(10004), "Interrupted system call");
    EXPECT_STREQ(SocketErrorText(10038), "Socket operation on non-socket");
    EXPECT_STREQ(SocketErrorText(10054), "Connection reset by peer");
    EXPECT_STREQ(SocketErrorText(10060), "Connection timed out");
    EXPECT_STREQ(SocketErrorText(10061), "Connection refused");
    EXPECT_STREQ(SocketErrorText(10071), "Too many levels of remote in path");
    EXPECT_STREQ(SocketErrorText(11001), "Host not found");
    EXPECT_STREQ(SocketErrorText(11004), "No host data of that type was found");
}

}  // namespace
}  // namespace tarnwell
