// The client and the server pieces against each other over real sockets.

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>

#include "common/system/net/http_request.h"
#include "common/system/net/loopback_listener.h"
#include "scripted_connection.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;
using test::MessageOf;

class CLoopbackTest : public testing::Test {
protected:
    CISOString Address(const char* host = "127.0.0.1", std::uint32_t carry = 0) const {
        return CISOString("http://") + host + ":" + std::to_string(m_listener.Port() + carry);
    }

    CLoopbackListener m_listener;
    CHttpConnectionFactory m_factory;
};

TEST_F(CLoopbackTest, ReachesTheServerByEveryFormOfItsAddress) {
    CHttpConnection client;
    // A port beyond 16 bits reaches the one of its low half.
    for (const auto& address : {Address("127.1"), Address("0x7f000001"), Address("2130706433"),
                                Address("localhost"), Address("127.0.0.1", 0x10000)}) {
        client.Connect(CHttpUrl::Parse(address));
        const auto server = m_listener.Accept(20s);
        ASSERT_NE(server, nullptr) << address.CStr();
        server->SendAll("first, rest");
        EXPECT_EQ(client.ReadByte(), 'f') << "the rest is not the next server's";
    }
    EXPECT_EQ(m_listener.Accept(0ms), nullptr);
}

TEST_F(CLoopbackTest, GivesTheSocketBackOnEveryFailure) {
    const CISOString silent = Address();
    m_listener = CLoopbackListener();  // another port; nobody listens on the old one
    // The system hands out the lowest number that is free.
    const auto next = [] { return CUniqueSocket(OpenSocket()).Get(); };
    const SocketHandle before = next();
    for (int round = 0; round < 25; ++round) {
        EXPECT_EQ(MessageOf([&] { Get(m_factory, silent, true); }),
                  "Connection failed: Connection refused");
        const auto server = std::async(std::launch::async, [this] {
            const auto client = m_listener.Accept(20s);
            while (client && !client->ReadLine().IsEmpty())
                continue;
        });
        EXPECT_EQ(MessageOf([&] { Get(m_factory, Address(), true); }), "Bad HTTP response");
    }
    EXPECT_LT(next(), before + 25);
}

TEST_F(CLoopbackTest, SendingToAPeerThatIsGoneFailsAndEndsNoProcess) {
    CHttpConnection client;
    client.Connect(CHttpUrl::Parse(Address()));
    EXPECT_NE(m_listener.Accept(20s), nullptr);
    const auto sendOn = [&] {
        for (;;)
            client.SendAll("x");
    };
    EXPECT_TRUE(MessageOf(sendOn).starts_with("Unable to send data: "));
}

TEST_F(CLoopbackTest, HoldsADrippingClientToTheDeadline) {
    CHttpConnection client;
    client.Connect(CHttpUrl::Parse(Address()));
    const auto server = m_listener.Accept(20s);
    ASSERT_NE(server, nullptr);
    const std::jthread dripping([&](const std::stop_token& stop) {
        for (; !stop.stop_requested(); std::this_thread::sleep_for(5ms))
            client.SendAll("x");
    });
    const auto start = std::chrono::steady_clock::now();
    server->SetReceiveDeadline(200ms);
    EXPECT_EQ(MessageOf([&] { server->ReadLine(); }),
              "Unable to receive data: Connection timed out");
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
}

}  // namespace
}  // namespace tarnwell
