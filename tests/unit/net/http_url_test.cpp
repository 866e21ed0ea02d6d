#include "common/system/net/http_url.h"

#include <gtest/gtest.h>

#include <string>

namespace tarnwell {
namespace {

struct Row {
    std::string text;
    bool valid;
    const char* scheme;
    const char* host;
    std::uint32_t port;
    const char* path;
};

TEST(CHttpUrl, SplitsAnAddress) {
    const Row rows[] = {
        {"http://127.0.0.1:8080", true, "http", "127.0.0.1", 8080, "/"},
        {"http://host/a/b?x=1&y=:2#f", true, "http", "host", 80, "/a/b?x=1&y=:2#f"},
        {"https://host", true, "https", "host", 443, "/"},
        {"https://host:80/", true, "https", "host", 80, "/"},
        {"HTTPS://Host/P", true, "HTTPS", "Host", 80, "/P"},
        {"ftp://host/x", true, "ftp", "host", 80, "/x"},
        {"://host", true, "", "host", 80, "/"},
        {"http://", true, "http", "", 80, "/"},
        {"http:///only/path", true, "http", "", 80, "/only/path"},
        {"a://b://c", false, "a", "b", 0, "//c"},
        {"http://host?q=1/2", true, "http", "host?q=1", 80, "/2"},
        {"http://user@host/", true, "http", "user@host", 80, "/"},
        // Values beyond 16 bits parse; the socket takes their low half.
        {"http://host:70000/", true, "http", "host", 70000, "/"},
        {"http://host:4294967295", true, "http", "host", 4294967295U, "/"},
        {"http://host:0080", true, "http", "host", 80, "/"},
        {"http://host:4294967296", false, "http", "host", 0, "/"},
        {"http://host:99999999999999999999999999", false, "http", "host", 0, "/"},
        {"http://host:80x/p", false, "http", "host", 0, "/p"},
        {"http://host:/p", false, "http", "host", 0, "/p"},
        {"http://host: 80", false, "http", "host", 0, "/"},
        {"http://host:80 ", false, "http", "host", 0, "/"},
        {"http://host:+80", false, "http", "host", 0, "/"},
        {"http://host:-1", false, "http", "host", 0, "/"},
        {"http://127.0.0.1:8080\r\n/dyn", false, "http", "127.0.0.1", 0, "/dyn"},
        {std::string("http://host:80\0/x", 17), false, "http", "host", 0, "/x"},
        // An IPv6 literal ends at its first colon.
        {"http://[::1]:80/", false, "http", "[", 0, "/"},
        {"http:/host", false, "", "", 0, ""},
        {"", false, "", "", 0, ""},
        {"host:80", false, "", "", 0, ""},
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
