// Requests, responses and multipart bodies over a scripted wire.

#include <gtest/gtest.h>

#include <tuple>

#include "common/system/net/http_request.h"
#include "common/system/net/http_server.h"
#include "common/system/net/multipart.h"
#include "scripted_connection.h"

namespace tarnwell {
namespace {

using namespace std::string_literals;
using test::CScriptedConnection;
using test::MessageOf;
using test::Text;
using test::Wire;

using Headers = std::vector<CHttpResponse::Header>;

class CScriptedFactory : public CHttpConnectionFactory {
public:
    explicit CScriptedFactory(Wire& wire) : m_wire(wire) {}
    std::unique_ptr<CHttpConnection> Create(const CHttpUrl&) override {
        return std::make_unique<CScriptedConnection>(m_wire);
    }

private:
    Wire& m_wire;
};

std::unique_ptr<CHttpResponse> Ask(Wire& wire) {
    CScriptedFactory factory(wire);
    return Get(factory, "http://127.0.0.1:1234/dyn/x?a=%20#f", true);
}

TEST(CHttpConnection, RefusesAnAddressItCannotUse) {
    // Longer than any name can be, so that no resolver is asked for it.
    const std::string host(300, 'h');
    const std::pair<CISOString, std::string> rows[] = {
        {"ftp://host/", "Invalid protocol : ftp"},
        {"https://host/", "Invalid protocol : https"},
        {"HTTP://host/", "Invalid protocol : HTTP"},
        {"http://127.0.0.1:80x/", "Invalid URL format"},
        {CISOString("http://" + host), "Host \"" + host + "\" not found"},
    };
    CHttpConnectionFactory factory;
    for (const auto& [address, message] : rows)
        EXPECT_EQ(MessageOf([&, &url = address] { Get(factory, url, true); }), message);
    EXPECT_EQ(MessageOf([] { CHttpConnection().Connect(CHttpUrl::Parse("https://127.0.0.1/")); }),
              "Unknown URL scheme");
}

TEST(Get, SendsAndReadsLinesWhereverThePacketsEnd) {
    Wire wire{
        .stream = "HTTP/1.0 200 O\rK\r\r\nX: \0\xFF\n X\t :  \tb:c d  \r\n   :  \r\n\r\nbody"s,
        .piece = 3};
    const auto response = Ask(wire);
    EXPECT_EQ(response->Reason(), "OK");
    // Blanks are cut off, but not before the name, and tabs stay.
    EXPECT_EQ(response->Headers(), (Headers{{"X", {"\0\xFF", 2}}, {" X\t", "\tb:c d"}, {"", ""}}));
    EXPECT_EQ(Text(response->ReadAll()), "body");
    EXPECT_EQ(wire.sent,
              "GET /dyn/x?a=%20#f HTTP/1.0\r\nUser-Agent: ZELSS\r\n"
              "Origin: tarnwell.localhost\r\nAccept: */*\r\nHost: 127.0.0.1\r\n\r\n");
}

TEST(Get, ClosesTheConnectionWhereverItFails) {
    const char* const bad = "Bad HTTP response";
    const std::string head = "HTTP/1.1 200 OK\r\nA: b\r\n";
    const std::pair<Wire, const char*> rows[] = {
        {{.piece = 0, .failure = 10053}, "Unable to send data: Software caused connection abort"},
        {{.piece = 0}, "Sent zero bytes"},
        {{.stream = "\r\n" + head}, bad},
        {{.stream = head + "no colon\r\n\r\n"}, bad},
        {{.stream = std::string(kMaxHeadBytes + 1, '\r')}, bad},
        {{.stream = head, .failure = 10054}, "Unable to receive data: Connection reset by peer"},
    };
    for (const auto& [script, message] : rows) {
        Wire wire = script;
        EXPECT_EQ(MessageOf([&] { Ask(wire); }), message);
        EXPECT_TRUE(wire.destroyed) << message;
    }
}

TEST(PostText, SendsKeepAliveAndReadsAnAnswerOnlyWhenAsked) {
    const CHttpUrl url = CHttpUrl::Parse("http://host:99/p");
    for (const bool asked : {true, false}) {
        Wire wire{.stream = "HTTP/1.0 200 OK\r\n\r\n"};
        auto connection = CScriptedFactory(wire).Create(url);
        const auto response = PostText(connection, url, {"a\0\r\n", 4}, true, asked, !asked);
        EXPECT_EQ(wire.sent,
                  "POST /p HTTP/1.0\r\nUser-Agent: ZELSS\r\nOrigin: tarnwell.localhost\r\n"
                  "Host: host\r\n"s +
                      (asked ? "Connection: keep-alive\r\n" : "") +
                      "Content-Type: text/plain\r\nContent-Length: 4\r\n\r\na\0\r\n"s);
        EXPECT_EQ(response != nullptr, asked);
        EXPECT_EQ(connection == nullptr, asked) << "only a response takes it over";
        EXPECT_EQ(wire.received > 0, asked);
    }
}

TEST(CHttpResponse, KeepsHeadersInOrderAndReadsAsMuchBodyAsAsked) {
    const std::string head = "HTTP/1.1 404 Not here\r\nB: 1\r\nContent-Length: 2\r\nB: 2\r\n\r\n";
    // The first 30 bytes of the body arrive with the head, whole; no length is believed.
    for (const auto& [count, size] : {std::pair(0U, 0U), {10, 30}, {31, 80}, {1000, 80}}) {
        Wire wire{.stream = head + std::string(80, 'x'), .piece = head.size() + 30};
        const auto response = Ask(wire);
        EXPECT_EQ(response->Reason(), "Not here");
        EXPECT_EQ(response->Headers(), (Headers{{"B", "1"}, {"Content-Length", "2"}, {"B", "2"}}));
        EXPECT_EQ(Text(response->ReadAtLeast(count)), std::string(size, 'x'));
        EXPECT_EQ(response->ReadAll().size(), size > 0 ? size : 80) << "a body is read once";
    }
}

TEST(CHttpResponse, LimitsTheWholeHead) {
    const std::string first = "HTTP/1.1 200 OK\r\n";
    const std::string header = "A:" + std::string(kMaxHeadBytes - first.size() - 6, 'v');
    Wire longest{.stream = first + header + "\r\n\r\n"};
    EXPECT_EQ(Ask(longest)->Headers().size(), 1u);
    Wire longer{.stream = first + header + "v\r\n\r\n"};
    EXPECT_EQ(MessageOf([&] { Ask(longer); }), "Bad HTTP response");
}

TEST(WriteResponse, WritesTheLinesThatApply) {
    Wire wire;
    CScriptedConnection connection(wire);
    connection.SetAllowedOrigin("http://a");
    WriteResponseHead(connection, "text/html", 6'000'000'000, true);
    EXPECT_EQ(wire.sent,
              "HTTP/1.1 200 OK\r\nServer: Kestrix\r\nAccess-Control-Allow-Origin: http://a\r\n"
              "Connection: close\r\nCache-Control: no-cache, no-store, must-revalidate\r\n"
              "Pragma: no-cache\r\nExpires: 0\r\nContent-Type: text/html\r\n"
              "Content-Length: 6000000000\r\n\r\n");
    Wire plain;
    CScriptedConnection other(plain);
    WriteResponse(other, "text/plain", "body");
    EXPECT_EQ(plain.sent,
              "HTTP/1.1 200 OK\r\nServer: Kestrix\r\nConnection: close\r\n"
              "Content-Type: text/plain\r\n\r\nbody\r\n");
}

TEST(ReadMultipartPart, ReadsPartAfterPartUpToTheirDelimiters) {
    // Boundary, stream, and its parts with "|" behind each; what follows the last is no part.
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"XX", "pre--XX\r\nA: 1\r\n\r\n1\r\n--X\r\n--XX 2\r\n\r\n--XX--\r\n",
         "pre|\r\nA: 1\r\n\r\n1\r\n--X| 2\r\n|"},
        {"aab", "--aa--aab\r\n--aa\r\n--aab", "--aa|\r\n--aa|"},
        {"XX", "\r\n--X", ""},
        {"", "--", ""},
    };
    for (const auto& [boundary, stream, parts] : rows) {
        Wire wire{.stream = stream, .piece = 3};
        CScriptedConnection connection(wire);
        std::string found;
        const auto readAll = [&, limit = boundary] {
            for (ByteArray part = {9};; found += Text(part) + "|")
                ReadMultipartPart(connection, limit, part, found.empty());
        };
        EXPECT_EQ(MessageOf(readAll), "Invalid multipart data");
        EXPECT_EQ(found, parts);
    }
}

TEST(CDelimiterScanner, StaysLinearForAnyDelimiter) {
    // A delimiter as long as a request line may be, and a stream that nearly matches everywhere:
    // a window compared byte by byte would need 10^11 steps here.
    CDelimiterScanner scanner(std::string(200'000, 'a') + "b");
    ByteArray output;
    for (int i = 0; i < 1'000'000; ++i)
        ASSERT_FALSE(scanner.Take('a', output));
    EXPECT_TRUE(scanner.Take('b', output));
    EXPECT_EQ(output.size(), 800'000u);
}

}  // namespace
}  // namespace tarnwell
