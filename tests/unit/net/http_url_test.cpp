#include "common/system/net/http_url.h"

#include <gtest/gtest.h>

#include <string>

namespace tarnwell {
namespace {

struct Row {
    std::string text;
    const char* scheme;
    const char* host;
    const char* path;
    std::uint32_t port;
    bool valid;
};

TEST(CHttpUrl, SplitsAnAddress) {
    const Row rows[] = {
        {"http://127.0.0.1:8080", "http", "127.0.0.1", "/", 8080, true},
        {"http://host/a/b?x=1&y=:2#f", "http", "host", "/a/b?x=1&y=:2#f", 80, true},
        {"https://host", "https", "host", "/", 443, true},
        {"https://host:80/", "https", "host", "/", 80, true},
        {"HTTPS://Host/P", "HTTPS", "Host", "/P", 80, true},
        {"ftp://host/x", "ftp", "host", "/x", 80, true},
        {"://host", "", "host", "/", 80, true},
        {"http://", "http", "", "/", 80, true},
        {"http:///only/path", "http", "", "/only/path", 80, true},
        {"a://b://c", "a", "b", "//c", 0, false},
        {"http://host?q=1/2", "http", "host?q=1", "/2", 80, true},
        {"http://user@host/", "http", "user@host", "/", 80, true},
        // Values beyond 16 bits parse; the socket takes their low half.
        {"http://host:70000/", "http", "host", "/", 70000, true},
        {"http://host:4294967295", "http", "host", "/", 4294967295U, true},
        {"http://host:0080", "http", "host", "/", 80, true},
        {"http://host:4294967296", "http", "host", "/", 0, false},
        {"http://host:99999999999999999999999999", "http", "host", "/", 0, false},
        {"http://host:80x/p", "http", "host", "/p", 0, false},
        {"http://host:/p", "http", "host", "/p", 0, false},
        {"http://host: 80", "http", "host", "/", 0, false},
        {"http://host:80 ", "http", "host", "/", 0, false},
        {"http://host:+80", "http", "host", "/", 0, false},
        {"http://host:-1", "http", "host", "/", 0, false},
        {"http://127.0.0.1:8080\r\n/dyn", "http", "127.0.0.1", "/dyn", 0, false},
        {std::string("http://host:80\0/x", 17), "http", "host", "/x", 0, false},
        // An IPv6 literal ends at its first colon.
        {"http://[::1]:80/", "http", "[", "/", 0, false},
        {"http:/host", "", "", "", 0, false},
        {"", "", "", "", 0, false},
        {"host:80", "", "", "", 0, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        const CHttpUrl url = CHttpUrl::Parse(row.text);
        EXPECT_EQ(url.valid, row.valid);
        EXPECT_STREQ(url.scheme.CStr(), row.scheme);
        EXPECT_STREQ(url.host.CStr(), row.host);
        EXPECT_EQ(url.port, row.port);
        EXPECT_STREQ(url.path.CStr(), row.path);
    }
}

}  // namespace
}  // namespace tarnwell
