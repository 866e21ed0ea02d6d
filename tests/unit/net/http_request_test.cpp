#include "common/system/net/http_request.h"

#include <gtest/gtest.h>

#include <string>

#include "scripted_connection.h"

namespace tarnwell {
namespace {

using test::CScriptedConnection;
using test::MessageOf;
using test::Wire;

constexpr char kAnswer[] = "HTTP/1.0 200 OK\r\nX: y\r\n\r\nbody";

class CScriptedFactory : public CHttpConnectionFactory {
public:
    std::unique_ptr<CHttpConnection> Create(const CHttpUrl&) override {
        auto connection = std::make_unique<CScriptedConnection>(wire, std::deque{answer});
        connection->SendsOnly(sendLimit, failure);
        return connection;
    }

    Wire wire;
    std::string answer = kAnswer;
    std::uint32_t sendLimit = ~0U;
    int failure = 0;
};

TEST(Get, SendsItsLinesInOrder) {
    CScriptedFactory factory;
    const CISOString address("http://127.0.0.1:1234/dyn/x?a=%20#f");
    auto response = Get(factory, address, true);
    EXPECT_EQ(factory.wire.connectedTo, "127.0.0.1:1234");
    EXPECT_EQ(factory.wire.sent,
              "GET /dyn/x?a=%20#f HTTP/1.0\r\n"
              "User-Agent: ZELSS\r\n"
              "Origin: tarnwell.localhost\r\n"
              "Accept: */*\r\n"
              "Host: 127.0.0.1\r\n"
              "\r\n");
    EXPECT_EQ(response->StatusCode(), 200u);

    CScriptedFactory without;
    Get(without, address, false);
    EXPECT_EQ(without.wire.sent.find("Origin"), std::string::npos);
}

TEST(Get, OwnsItsConnectionUntilTheResponseDoes) {
    CScriptedFactory factory;
    auto response = Get(factory, "http://h/", true);
    EXPECT_FALSE(factory.wire.destroyed);
    response.reset();
    EXPECT_TRUE(factory.wire.destroyed);
}

TEST(Get, ClosesTheConnectionWhereverItFails) {
    struct Row {
        const char* address;
        const char* answer;
        std::uint32_t sendLimit;
        int failure;
        const char* message;
    };
    const Row rows[] = {
        {"http://h:x/", kAnswer, ~0U, 0, "Invalid URL format"},
        {"http://h/", kAnswer, 10, 10053, "Unable to send data: Software caused connection abort"},
        {"http://h/", "HTTP/2 200 OK\r\n\r\n", ~0U, 0, "Bad HTTP response"},
        {"http://h/", "HTTP/1.1 200 OK\r\nno colon\r\n\r\n", ~0U, 0, "Bad HTTP response"},
        {"http://h/", "HTTP/1.1 200 OK\r\nA: b\r\n", ~0U, 10054,
         "Unable to receive data: Connection reset by peer"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.message);
        CScriptedFactory factory;
        factory.answer = row.answer;
        factory.sendLimit = row.sendLimit;
        factory.failure = row.failure;
        EXPECT_EQ(MessageOf([&] { Get(factory, row.address, true); }), row.message);
        EXPECT_TRUE(factory.wire.destroyed);
    }
}

TEST(PostText, SendsKeepAliveOnlyWhenAsked) {
    const CHttpUrl url = CHttpUrl::Parse("http://host:99/p");
    const std::string head =
        "POST /p HTTP/1.0\r\nUser-Agent: ZELSS\r\nOrigin: tarnwell.localhost\r\nHost: host\r\n";
    const std::string tail =
        "Content-Type: text/plain\r\nContent-Length: 7\r\n\r\na\nb\xC3\xA9\r\n";
    Wire wire;
    std::unique_ptr<CHttpConnection> connection =
        std::make_unique<CScriptedConnection>(wire, std::deque<std::string>{kAnswer});
    auto response = PostText(connection, url, "a\nb\xC3\xA9\r\n", true, true, false);
    EXPECT_EQ(wire.sent, head + "Connection: keep-alive\r\n" + tail);
    EXPECT_EQ(response->StatusCode(), 200u);
    EXPECT_EQ(connection, nullptr) << "the response has taken it over";

    Wire second;
    connection = std::make_unique<CScriptedConnection>(second, std::deque<std::string>{kAnswer});
    EXPECT_EQ(PostText(connection, url, "a\nb\xC3\xA9\r\n", true, false, true), nullptr);
    EXPECT_EQ(second.sent, head + tail);
    EXPECT_TRUE(second.receiveSizes.empty()) << "an answer that nobody wants is not read";
    EXPECT_NE(connection, nullptr);

    std::unique_ptr<CHttpConnection> none;
    EXPECT_EQ(PostText(none, url, "x", true, true, false), nullptr);
}

TEST(PostForm, SendsTheSameLinesOnANewAndOnAGivenConnection) {
    const CHttpUrl url = CHttpUrl::Parse("http://host/f");
    const std::string expected =
        "POST /f HTTP/1.0\r\nUser-Agent: ZELSS\r\nHost: host\r\n"
        "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: 3\r\n\r\na=b";
    CScriptedFactory factory;
    auto response = PostForm(factory, url, "a=b", false);
    EXPECT_EQ(factory.wire.sent, expected);
    EXPECT_EQ(factory.wire.connectedTo, "host:80");
    EXPECT_EQ(response->StatusCode(), 200u);

    Wire wire;
    std::unique_ptr<CHttpConnection> connection =
        std::make_unique<CScriptedConnection>(wire, std::deque<std::string>{kAnswer});
    response = PostForm(connection, url, "a=b", false);
    EXPECT_EQ(wire.sent, expected);
    EXPECT_EQ(wire.connectedTo, "") << "the caller has connected it";
    EXPECT_EQ(response->StatusCode(), 200u);
}

}  // namespace
}  // namespace tarnwell
