#include "common/system/net/http_response.h"

#include <gtest/gtest.h>

#include <string>

#include "scripted_connection.h"
#include "support/heap_checks.h"

namespace tarnwell {
namespace {

using test::CScriptedConnection;
using test::Dripped;
using test::MessageOf;
using test::Text;
using test::Wire;

class CHttpResponseTest : public testing::Test {
protected:
    std::unique_ptr<CHttpResponse> Read(std::deque<std::string> pieces) {
        m_connection = std::make_unique<CScriptedConnection>(m_wire, std::move(pieces));
        return CHttpResponse::Read(m_connection);
    }

    Wire m_wire;
    std::unique_ptr<CHttpConnection> m_connection;
};

TEST_F(CHttpResponseTest, KeepsHeadersInOrderWithDuplicates) {
    const std::string head =
        "HTTP/1.1 404 Not here\r\nB: 1\r\nA :  x y  \r\nB: 2\r\nEmpty:\r\n\r\nbody";
    for (const auto& pieces : {std::deque<std::string>{head}, Dripped(head)}) {
        auto response = Read(pieces);
        EXPECT_EQ(response->StatusCode(), 404u);
        EXPECT_EQ(response->Reason(), "Not here");
        std::string headers;
        for (const auto& [name, value] : response->Headers())
            headers += Text(name) + "=" + Text(value) + ";";
        EXPECT_EQ(headers, "B=1;A=x y;B=2;Empty=;");
        EXPECT_TRUE(response->Body().empty()) << "nobody has asked for it yet";
        EXPECT_EQ(Text(response->ReadAll()), "body");
    }
}

TEST_F(CHttpResponseTest, TakesTheEndOfTheStreamForTheEndOfTheHead) {
    EXPECT_TRUE(Read({"HTTP/1.0 204"})->Headers().empty());
    EXPECT_EQ(Read({"HTTP/1.0 200 OK\r\nA: b"})->Headers().size(), 1u);
}

TEST_F(CHttpResponseTest, RefusesWhatIsNoHead) {
    const std::string rows[] = {
        "",
        "\r\nHTTP/1.1 200 OK\r\n\r\n",
        "HTTP/1.1 OK\r\n\r\n",
        "HTTP/2 200 OK\r\n\r\n",
        std::string("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n"),
        std::string("\0\0\x12\x04\0\0\0\0\0\0\x03\0\0\0\x64", 15),
        "HTTP/1.1 200 OK\r\nfolded: a\r\n b\r\n\r\n",
    };
    for (const std::string& head : rows)
        EXPECT_EQ(MessageOf([&] { Read({head}); }), "Bad HTTP response") << head;
}

TEST_F(CHttpResponseTest, LimitsTheWholeHead) {
    const std::string first = "HTTP/1.1 200 OK\r\n";
    const std::string end = "\r\n\r\n";
    const std::string longest(kMaxHeadBytes - first.size() - end.size() - 2, 'v');
    EXPECT_EQ(Read({first + "A:" + longest + end})->Headers()[0].second.Length(), longest.size());
    EXPECT_EQ(MessageOf([&] { Read({first + "A:" + longest + "v" + end}); }), "Bad HTTP response");

    std::string many = first;
    while (many.size() <= kMaxHeadBytes)
        many += "Name: " + std::string(test::Size<std::size_t>(5, 5000), 'v') + "\r\n";
    EXPECT_EQ(MessageOf([&] { Read({many + end}); }), "Bad HTTP response");
    // A head of nothing but carriage returns has no line to show, and still ends.
    EXPECT_EQ(MessageOf([&] { Read({std::string(kMaxHeadBytes + 1, '\r')}); }),
              "Bad HTTP response");
}

TEST_F(CHttpResponseTest, ReadsAsMuchBodyAsAsked) {
    const std::string head = "HTTP/1.1 200 OK\r\n\r\n";
    const std::string fifty(50, 'x');
    // The first chunk is what arrived with the head, whole.
    EXPECT_EQ(Read({head + fifty, "later"})->ReadAtLeast(10).size(), 50u);
    EXPECT_EQ(Read({head + fifty, "later"})->ReadAtLeast(51).size(), 55u);
    EXPECT_EQ(Read({head + fifty, "later"})->ReadAtLeast(1000).size(), 55u);
    EXPECT_EQ(Read({head + fifty, "later"})->ReadAtLeast(0).size(), 0u);
    EXPECT_EQ(Read({head})->ReadAll().size(), 0u);

    auto response = Read({head + fifty, "later"});
    response->ReadAtLeast(10);
    EXPECT_EQ(response->ReadAll().size(), 50u) << "a body that holds anything stays as it is";

    auto large = Read({head, std::string(100'000, 'y')});
    EXPECT_EQ(large->ReadAll().size(), 100'000u);
}

TEST_F(CHttpResponseTest, BelievesNoLengthAndUndoesNoCoding) {
    const std::string chunked = "4\r\nWiki\r\n0\r\n\r\n";
    EXPECT_EQ(Text(Read({"HTTP/1.1 200 OK\r\nContent-Length: 2\r\n"
                         "Transfer-Encoding: chunked\r\n\r\n" +
                         chunked})
                       ->ReadAll()),
              chunked);
}

TEST_F(CHttpResponseTest, LeavesTheConnectionWithTheCallerUntilTheStatusLineIsGood) {
    EXPECT_EQ(MessageOf([&] { Read({"nonsense\r\n"}); }), "Bad HTTP response");
    EXPECT_NE(m_connection, nullptr);
    EXPECT_FALSE(m_wire.destroyed);
    m_connection.reset();

    m_wire.destroyed = false;
    EXPECT_EQ(MessageOf([&] { Read({"HTTP/1.1 200 OK\r\nnonsense\r\n"}); }), "Bad HTTP response");
    EXPECT_TRUE(m_wire.destroyed);
}

}  // namespace
}  // namespace tarnwell
