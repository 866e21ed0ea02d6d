// The client and the server pieces against each other over real sockets.

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>
#include <thread>

#include "common/system/net/http_request.h"
#include "common/system/net/http_server.h"
#include "common/system/net/loopback_listener.h"
#include "scripted_connection.h"
#include "support/heap_checks.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;
using test::MessageOf;
using test::Text;

class CLoopbackTest : public testing::Test {
protected:
    CISOString Address(const char* host = "127.0.0.1", const char* path = "/p?q=1") const {
        return CISOString("http://") + host + ":" + std::to_string(m_listener.Port()).c_str() +
               path;
    }

    /// Serve answers one client with `answer(connection)` on another thread.
    template <class Answer>
    std::future<void> Serve(Answer answer) {
        return std::async(std::launch::async, [this, answer] {
            auto client = m_listener.Accept(20s);
            ASSERT_NE(client, nullptr) << "nobody came";
            client->SetReceiveDeadline(20s);
            answer(*client);
        });
    }

    std::unique_ptr<CHttpResponse> Ask() { return Get(m_factory, Address(), true); }

    static std::string ReadHead(CHttpConnection& connection) {
        std::string head;
        std::size_t budget = kMaxHeadBytes;
        for (;;) {
            const std::string line = Text(connection.ReadLine(budget));
            if (line.empty())
                return head;
            head += line + "\n";
        }
    }

    CLoopbackListener m_listener;
    CHttpConnectionFactory m_factory;
};

TEST_F(CLoopbackTest, CarriesARequestThereAndAnAnswerBack) {
    std::string head;
    auto server = Serve([&](CHttpConnection& client) {
        head = ReadHead(client);
        client.SetAllowedOrigin(kOrigin);
        WriteResponse(client, "text/plain", "done");
    });
    auto response = Ask();
    EXPECT_EQ(response->StatusCode(), 200u);
    EXPECT_EQ(response->Reason(), "OK");
    ASSERT_EQ(response->Headers().size(), 4u);
    EXPECT_EQ(response->Headers()[1].first, "Access-Control-Allow-Origin");
    EXPECT_EQ(response->Headers()[1].second, kOrigin);
    server.get();
    EXPECT_EQ(Text(response->ReadAll()), "done\r\n");
    EXPECT_EQ(head,
              "GET /p?q=1 HTTP/1.0\nUser-Agent: ZELSS\nOrigin: tarnwell.localhost\n"
              "Accept: */*\nHost: 127.0.0.1\n");
}

TEST_F(CLoopbackTest, ReachesTheServerByEveryFormOfItsAddress) {
    const char* hosts[] = {"127.0.0.1",  "127.1",      "0x7f000001",
                           "0177.0.0.1", "2130706433", "localhost"};
    for (const char* host : hosts) {
        SCOPED_TRACE(host);
        CHttpConnection client;
        client.Connect(CHttpUrl::Parse(Address(host)));
        EXPECT_NE(m_listener.Accept(20s), nullptr);
    }
    // A port beyond 16 bits reaches the one of its low half.
    CHttpConnection client;
    client.Connect(CHttpUrl::Parse("http://127.0.0.1:" +
                                   std::to_string(0x10000 + std::uint32_t{m_listener.Port()})));
    EXPECT_NE(m_listener.Accept(20s), nullptr);
}

TEST_F(CLoopbackTest, SaysThatNobodyListens) {
    const CISOString address = Address();
    m_listener = CLoopbackListener();  // another port; the old one is free again
    EXPECT_EQ(MessageOf([&] { Get(m_factory, address, true); }),
              "Connection failed: Connection refused");
}

TEST_F(CLoopbackTest, TakesAServerThatHangsUpForABadAnswer) {
    auto server = Serve([](CHttpConnection& client) { ReadHead(client); });
    EXPECT_EQ(MessageOf([&] { Ask(); }), "Bad HTTP response");
}

TEST_F(CLoopbackTest, SaysThatTheServerHasReset) {
    // A socket that closes with bytes nobody has read resets its peer. The peer is to be waiting
    // by then: Wine forgets a reset that comes earlier.
    auto server = Serve([](CHttpConnection& client) {
        client.ReadByte();
        client.SendAll("HTTP/1.1 200 OK\r\nA: b\r\n");
        std::this_thread::sleep_for(300ms);
    });
    CHttpConnection client;
    client.Connect(CHttpUrl::Parse(Address()));
    client.SendAll(std::string(5000, 'x'));
    EXPECT_EQ(client.ReadLine(), "HTTP/1.1 200 OK");
    EXPECT_EQ(client.ReadLine(), "A: b");
    EXPECT_EQ(MessageOf([&] { client.ReadLine(); }),
              "Unable to receive data: Connection reset by peer");
    // Sending goes wrong too, and neither ends the process.
    EXPECT_THROW(
        {
            for (int i = 0; i < 100; ++i)
                client.SendAll("anybody there?");
        },
        CHttpException);
}

TEST_F(CLoopbackTest, CarriesABodyThatFitsNoBuffer) {
    std::string body;
    for (int i = 0; body.size() < (8u << 20); ++i)
        body += std::to_string(i) + ",";
    auto server = Serve([&](CHttpConnection& client) {
        ReadHead(client);
        WriteResponseHead(client, "text/plain", static_cast<std::int64_t>(body.size()), true);
        client.SendAll(body);
    });
    auto response = Ask();
    std::this_thread::sleep_for(50ms);  // let the sender run into a full buffer
    EXPECT_TRUE(Text(response->ReadAll()) == body);
}

TEST_F(CLoopbackTest, ClosesTheSocketWithTheResponse) {
    auto server = Serve([](CHttpConnection& client) {
        ReadHead(client);
        WriteResponseHead(client, "text/plain", -1, false);
        EXPECT_EQ(client.ReadByte(), std::nullopt) << "the client has not hung up";
    });
    Ask().reset();
}

TEST_F(CLoopbackTest, GivesUpOnAServerThatSendsHeadersForEver) {
    const std::string line = "A: " + std::string(test::Size<std::size_t>(1, 5000), 'b') + "\r\n";
    for (const std::string& piece : {line, std::string("no line end at all ")}) {
        std::size_t sent = 0;
        auto server = Serve([&](CHttpConnection& client) {
            ReadHead(client);
            client.SendLine("HTTP/1.1 200 OK");
            std::string block;
            while (block.size() < 60'000)
                block += piece;
            EXPECT_THROW(
                {
                    for (; sent < (64u << 20); sent += block.size())
                        client.SendAll(block);
                },
                CHttpException);
        });
        EXPECT_EQ(MessageOf([&] { Ask(); }), "Bad HTTP response");
        server.get();
        EXPECT_LT(sent, 64u << 20);
    }
}

TEST_F(CLoopbackTest, DoesNotWaitForEverForAClient) {
    EXPECT_EQ(m_listener.Accept(0ms), nullptr);
    EXPECT_EQ(m_listener.Accept(30ms), nullptr);
}

TEST_F(CLoopbackTest, HoldsASilentOrDrippingClientToTheDeadline) {
    for (const bool drips : {false, true}) {
        CHttpConnection client;
        client.Connect(CHttpUrl::Parse(Address()));
        auto server = m_listener.Accept(20s);
        ASSERT_NE(server, nullptr);
        std::promise<void> ended;
        auto dripping = std::async(std::launch::async, [&] {
            const auto stop = ended.get_future();
            while (drips && stop.wait_for(5ms) == std::future_status::timeout)
                client.SendAll("x");
        });
        const auto start = std::chrono::steady_clock::now();
        server->SetReceiveDeadline(200ms);
        EXPECT_EQ(MessageOf([&] { server->ReadLine(); }),
                  "Unable to receive data: Connection timed out");
        const auto took = std::chrono::steady_clock::now() - start;
        EXPECT_GE(took, 150ms);
        EXPECT_LT(took, 10s);
        ended.set_value();
        dripping.get();
    }
}

}  // namespace
}  // namespace tarnwell
