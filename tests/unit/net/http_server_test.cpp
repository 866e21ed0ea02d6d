#include "common/system/net/http_server.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "common/system/net/multipart.h"
#include "scripted_connection.h"
#include "support/heap_checks.h"

namespace tarnwell {
namespace {

using test::CScriptedConnection;
using test::Dripped;
using test::MessageOf;
using test::Text;
using test::Wire;

TEST(WriteResponseHead, WritesOnlyTheLinesThatApply) {
    const std::string start = "HTTP/1.1 200 OK\r\nServer: Kestrix\r\n";
    const std::string close = "Connection: close\r\n";
    const std::string type = "Content-Type: text/html\r\n";
    struct Row {
        const char* origin;
        std::int64_t length;
        bool noCache;
        std::string head;
    };
    const Row rows[] = {
        {"", -1, false, start + close + type + "\r\n"},
        {"http://a", 0, false,
         start + "Access-Control-Allow-Origin: http://a\r\n" + close + type +
             "Content-Length: 0\r\n\r\n"},
        {"", 6'000'000'000, true,
         start + close +
             "Cache-Control: no-cache, no-store, must-revalidate\r\nPragma: no-cache\r\n"
             "Expires: 0\r\n" +
             type + "Content-Length: 6000000000\r\n\r\n"},
    };
    for (const Row& row : rows) {
        Wire wire;
        CScriptedConnection connection(wire, {});
        connection.SetAllowedOrigin(row.origin);
        WriteResponseHead(connection, "text/html", row.length, row.noCache);
        EXPECT_EQ(wire.sent, row.head);
    }
}

TEST(WriteResponse, EndsTheBodyWithALineEnd) {
    Wire wire;
    CScriptedConnection connection(wire, {});
    WriteResponse(connection, "text/plain", "done");
    EXPECT_EQ(wire.sent,
              "HTTP/1.1 200 OK\r\nServer: Kestrix\r\nConnection: close\r\n"
              "Content-Type: text/plain\r\n\r\ndone\r\n");
}

TEST(ReadMultipartPart, ReadsPartAfterPart) {
    const std::string stream =
        "preamble--XX\r\nA: 1\r\n\r\nfirst\r\n-- \r\n--X\r\n--XX second\r\n\r\n--XX--\r\n";
    for (const auto& pieces : {std::deque<std::string>{stream}, Dripped(stream)}) {
        Wire wire;
        CScriptedConnection connection(wire, pieces);
        ByteArray part = {9};
        ReadMultipartPart(connection, "XX", part, true);
        EXPECT_EQ(Text(part), "preamble");
        ReadMultipartPart(connection, "XX", part, false);
        EXPECT_EQ(Text(part), "\r\nA: 1\r\n\r\nfirst\r\n-- \r\n--X");
        ReadMultipartPart(connection, "XX", part, false);
        EXPECT_EQ(Text(part), " second\r\n");
        EXPECT_EQ(connection.ReadLine(), "--");
    }
}

TEST(ReadMultipartPart, RefusesStreamsWithoutDelimiter) {
    const std::string rows[] = {"", "-", "--X", "\r\n--XX", "\r\n--XXXXX"};
    for (const std::string& stream : rows) {
        Wire wire;
        CScriptedConnection connection(wire, {stream});
        ByteArray part;
        EXPECT_EQ(MessageOf([&] { ReadMultipartPart(connection, "XXX!", part, false); }),
                  "Invalid multipart data")
            << stream;
    }
    Wire wire;
    CScriptedConnection connection(wire, {"--"});
    ByteArray part = {1};
    EXPECT_EQ(MessageOf([&] { ReadMultipartPart(connection, "", part, true); }),
              "Invalid multipart data");
    EXPECT_TRUE(part.empty());
}

/// The plain way: a window that moves on by one byte until it equals the delimiter.
std::optional<std::string> UpToDelimiter(const std::string& stream, const std::string& delimiter) {
    const auto found = stream.find(delimiter);
    return found == std::string::npos ? std::nullopt
                                      : std::optional(stream.substr(0, found) + "|" +
                                                      stream.substr(found + delimiter.size()));
}

TEST(CDelimiterScanner, FindsWhatASlidingWindowFinds) {
    std::mt19937 random(20260102);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same every time
    for (int round = 0; round < test::Size(20'000, 300); ++round) {
        const auto letters = [&](std::size_t most) {
            std::string text(random() % (most + 1), ' ');
            for (char& letter : text)
                letter = "ab-"[random() % 3];
            return text;
        };
        const std::string delimiter = CDelimiterScanner::DelimiterOf(letters(5), true);
        const std::string stream = letters(40);
        CDelimiterScanner scanner(delimiter);
        ByteArray output;
        std::optional<std::string> found;
        for (std::size_t i = 0; i < stream.size() && !found; ++i)
            if (scanner.Take(static_cast<std::uint8_t>(stream[i]), output))
                found = Text(output) + "|" + stream.substr(i + 1);
        ASSERT_EQ(found, UpToDelimiter(stream, delimiter)) << delimiter << " in " << stream;
    }
}

TEST(CDelimiterScanner, StaysLinearForAnyDelimiter) {
    // A delimiter as long as a request line may be, and a stream that nearly matches everywhere:
    // a window compared byte by byte would need 10^11 steps here.
    CDelimiterScanner scanner(std::string(200'000, 'a') + "b");
    ByteArray output;
    for (int i = 0; i < 1'000'000; ++i)
        ASSERT_FALSE(scanner.Take('a', output));
    EXPECT_EQ(output.size(), 800'000u);
    EXPECT_TRUE(scanner.Take('b', output));
}

}  // namespace
}  // namespace tarnwell
