#include "common/system/net/http_head.h"

#include <gtest/gtest.h>

#include <string>

namespace tarnwell {
namespace {

TEST(ParseStatusLine, ReadsHttpOneOnly) {
    struct Row {
        const char* line;
        std::optional<std::uint32_t> code;
        const char* reason;
    };
    const Row rows[] = {
        {"HTTP/1.0 200 OK", 200, "OK"},
        {"HTTP/1.1 200", 200, ""},
        {"HTTP/1.1 200 ", 200, ""},
        {"HTTP/1.1 404 Not Found at all", 404, "Not Found at all"},
        {"HTTP/1.1 200  two blanks", 200, " two blanks"},
        {"HTTP/1.9 0 ", 0, ""},
        {"HTTP/1.x 4294967295 x", 4294967295U, "x"},
        {"HTTP/1.1 4294967296 x", std::nullopt, ""},
        {"HTTP/1.10 200 OK", std::nullopt, ""},
        {"HTTP/1. 200 OK", std::nullopt, ""},
        {"HTTP/2 200 OK", std::nullopt, ""},
        {"HTTP/2.0 200 OK", std::nullopt, ""},
        {"http/1.1 200 OK", std::nullopt, ""},
        {" HTTP/1.1 200 OK", std::nullopt, ""},
        {"HTTP/1.1", std::nullopt, ""},
        {"HTTP/1.1 ", std::nullopt, ""},
        {"HTTP/1.1 OK", std::nullopt, ""},
        {"HTTP/1.1  200 OK", std::nullopt, ""},
        {"HTTP/1.1\t200 OK", std::nullopt, ""},
        {"HTTP/1.1 -1 x", std::nullopt, ""},
        {"HTTP/1.1 2x0 x", std::nullopt, ""},
        {"", std::nullopt, ""},
        {"PRI * HTTP/2.0", std::nullopt, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        const auto status = ParseStatusLine(row.line);
        ASSERT_EQ(status.has_value(), row.code.has_value());
        if (status) {
            EXPECT_EQ(status->code, *row.code);
            EXPECT_EQ(status->reason, row.reason);
        }
    }
}

TEST(ParseHeaderLine, TrimsBlanksButNotTabs) {
    struct Row {
        const char* line;
        bool good;
        const char* name;
        const char* value;
    };
    const Row rows[] = {
        {"X-A :  b c  ", true, "X-A", "b c"},
        {"X-A:b", true, "X-A", "b"},
        {"X-A:", true, "X-A", ""},
        {"X-A:   ", true, "X-A", ""},
        {":v", true, "", "v"},
        {"   :v", true, "", "v"},
        {":", true, "", ""},
        {" X-A: v", true, " X-A", "v"},
        {"Location: http://h:80/", true, "Location", "http://h:80/"},
        {"X-A\t:\tv\t", true, "X-A\t", "\tv\t"},
        {"no colon here", false, "", ""},
        {"", false, "", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        const auto header = ParseHeaderLine(row.line);
        ASSERT_EQ(header.has_value(), row.good);
        if (header) {
            EXPECT_EQ(header->name, row.name);
            EXPECT_EQ(header->value, row.value);
        }
    }
}

}  // namespace
}  // namespace tarnwell
