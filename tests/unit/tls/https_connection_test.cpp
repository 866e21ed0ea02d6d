// The TLS connection's two forms against each other over real sockets: what no foreign peer shows.

#include <gmock/gmock.h>

#include <future>
#include <string>
#include <thread>
#include <vector>

#include <openssl/ssl.h>

#include "common/system/net/http_request.h"
#include "common/system/net/http_server.h"
#include "common/tls/https_connection.h"
#include "support/test_signer.h"
#include "support/trace_listener.h"
#include "unit/net/scripted_connection.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;
using namespace testing;
using test::MessageOf;

class CJudge : public IServerTrust {
public:
    bool Trusts(std::span<const std::uint8_t> certificate, const CISOString& host) override {
        asked.emplace_back(std::vector(certificate.begin(), certificate.end()), host);
        return verdict;
    }
    bool verdict = true;
    std::vector<std::pair<std::vector<std::uint8_t>, CISOString>> asked;
};

class CExposed : public CHttpsConnection {
public:
    using CHttpsConnection::CHttpsConnection;
    using CHttpsConnection::Session;
    using CHttpsConnection::Socket;
};

class CHttpsConnectionTest : public testing::Test {
protected:
    CHttpsConnectionTest() {
        StartSockets();
        m_listener.Reset(ListenOnLoopback(m_port));
        m_context.Reset(SSL_CTX_new(TLS_server_method()));
        SSL_CTX_use_certificate(m_context.Get(), m_signer.certificate.Get());
        SSL_CTX_use_PrivateKey(m_context.Get(), m_signer.key.Get());
    }

    CHttpUrl Url(std::string_view start = "https://localhost") const {
        return CHttpUrl::Parse(std::string(start) + ":" + std::to_string(m_port) + "/p");
    }
    CUniqueSocket Accept() {
        return CUniqueSocket(WaitReadable(m_listener.Get(), 20s) ? AcceptSocket(m_listener.Get())
                                                                 : kNoSocket);
    }
    /// Serve accepts one client on another thread and gives its connection to `use`.
    template <class Use>
    std::future<void> Serve(Use use) {
        return std::async(std::launch::async, [this, use] {
            CExposed server(Accept(), m_context.Get(), 20s);
            use(server);
        });
    }

    std::uint16_t m_port = 0;
    CUniqueSocket m_listener;
    const test::TestSigner m_signer{test::kEc};
    CUnique<SslContextTraits> m_context;
    CJudge m_judge;
};

TEST_F(CHttpsConnectionTest, HasTheServersOwnCertificateJudgedAndSaysFarewell) {
    const test::CTraceListener trace;  // outlives the server's thread, which traces too
    {
        const auto server = Serve([](CExposed& client) {
            EXPECT_STREQ(SSL_get_servername(client.Session(), TLSEXT_NAMETYPE_host_name),
                         "localhost");
            client.SendAll("hello\n");
            EXPECT_FALSE(client.ReadByte());
            EXPECT_TRUE(SSL_get_shutdown(client.Session()) & SSL_RECEIVED_SHUTDOWN);
        });
        CHttpsConnection client(m_judge);
        client.Connect(Url());
        EXPECT_EQ(client.ReadLine(), "hello");
    }
    // The name is foreign: its "%" is only text.
    EXPECT_THAT(trace.Messages(),
                ElementsAre("Server certificates:", "\tSubject: /CN=p%s \\xC3\\xA9"));
    CUniqueOpenSslBytes der;
    const int length = i2d_X509(m_signer.certificate.Get(), der.Put());
    EXPECT_THAT(m_judge.asked,
                ElementsAre(Pair(ElementsAreArray(der.Get(), length), CISOString("localhost"))));
}

TEST_F(CHttpsConnectionTest, SaysWhyItDoesNotConnect) {
    const std::string zeros(300, '0');  // a number may be longer than a name
    CHttpsConnection client(m_judge);
    const auto refused = [&](CHttpUrl url) { return MessageOf([&] { client.Connect(url); }); };
    EXPECT_EQ(refused(CHttpUrl::Parse("https://localhost:4x/")), "Invalid URL format");
    EXPECT_EQ(refused(Url("http://localhost")), "Unknown URL scheme");
    EXPECT_EQ(refused(Url("https://" + zeros + "177.0.0.1")),
              "SSL connect failed: unable to set tlsext host name");

    EXPECT_EQ(MessageOf([] { CHttpsConnectionFactory().Create(CHttpUrl::Parse("HTTPS://h/")); }),
              "Invalid protocol : HTTPS");
    const auto plain = CHttpsConnectionFactory().Create(CHttpUrl::Parse("http://h/"));
    EXPECT_EQ(dynamic_cast<CHttpsConnection*>(plain.get()), nullptr);
}

TEST_F(CHttpsConnectionTest, EveryConnectIsASessionOfItsOwnAndJudgedAnew) {
    CHttpsConnection client(m_judge);
    for (const bool trusted : {true, false}) {
        const auto server = Serve([](CExposed& accepted) { accepted.SendAll("hello\n"); });
        m_judge.verdict = trusted;
        EXPECT_EQ(MessageOf([&] { client.Connect(Url()); }),
                  trusted ? "nothing thrown" : "SSL connect failed: untrusted certificate chain");
        if (trusted) {
            EXPECT_EQ(client.ReadLine(), "hello");
        }
    }
    // The server's form has no context to make another session from.
    const auto server = Serve([&](CExposed& accepted) {
        EXPECT_THAT(MessageOf([&] { accepted.Connect(Url()); }),
                    MatchesRegex("SSL connect failed: error:.*null ssl ctx"));
    });
    m_judge.verdict = true;
    client.Connect(Url());
}

TEST_F(CHttpsConnectionTest, AServerWithoutAChainIsAcceptedWithoutAnyCheck) {
    constexpr char kAnonymous[] = "aNULL:@SECLEVEL=0";
    m_context.Reset(SSL_CTX_new(TLS_server_method()));
    SSL_CTX_set_max_proto_version(m_context.Get(), TLS1_2_VERSION);
    SSL_CTX_set_cipher_list(m_context.Get(), kAnonymous);
    const auto server = Serve([](CExposed& accepted) { accepted.SendAll("hello\n"); });
    m_judge.verdict = false;
    CExposed client(m_judge);
    SSL_set_cipher_list(client.Session(), kAnonymous);
    client.Connect(Url());
    EXPECT_EQ(client.ReadLine(), "hello");
    EXPECT_TRUE(m_judge.asked.empty());
}

TEST_F(CHttpsConnectionTest, ASilentClientHoldsTheServerNoLongerThanAllowed) {
    CHttpConnection silent;
    silent.Connect(Url("http://localhost"));
    EXPECT_THAT(MessageOf([&] { CHttpsConnection(Accept(), m_context.Get(), 100ms); }),
                StartsWith("SSL accept failed: 5error:00000000:lib(0)::reason(0) /// "));
    EXPECT_THAT(MessageOf([&] { CHttpsConnection(CUniqueSocket(), nullptr); }),
                MatchesRegex("SSL accept failed: 1error:.*null ssl ctx"));
}

TEST_F(CHttpsConnectionTest, MovesNothingForNoBytesAndNoMoreThanOpenSslCanCount) {
    const auto server = Serve([](CExposed& accepted) { accepted.SendAll("abc"); });
    CHttpsConnection client(m_judge);
    client.Connect(Url());
    char buffer[16] = {};
    EXPECT_EQ(client.Send(buffer, 0), 0);
    EXPECT_EQ(client.Receive(buffer, 0), 0);
    EXPECT_EQ(client.Receive(buffer, 0xFFFFFFFF), 3);  // a negative count to OpenSSL would fail
}

TEST_F(CHttpsConnectionTest, WhatWasSentArrivesThoughNobodyReadsTheServersTickets) {
    const std::string body(256u << 10, 'b');
    const auto server = Serve([&](CExposed& peer) {
        std::this_thread::sleep_for(100ms);  // until the client is leaving
        std::size_t received = 0;
        EXPECT_EQ(MessageOf([&] {
                      for (ByteArray chunk; peer.ReceiveChunk(chunk);)
                          received += chunk.size();
                  }),
                  "nothing thrown");
        EXPECT_EQ(received, body.size());
    });
    CHttpsConnection client(m_judge);
    client.Connect(Url());
    client.SendAll(body);
}

TEST_F(CHttpsConnectionTest, APeerThatHasStoppedReadingDoesNotHoldUpTheFarewell) {
    std::promise<void> over;
    const auto server = Serve([&](CExposed&) { over.get_future().wait(); });
    auto client = std::make_unique<CExposed>(m_judge);
    client->Connect(Url());
    // Until no buffer has taken a byte for a while.
    const std::string junk(1u << 20, 'x');
    SetBlocking(client->Socket(), false);
    for (int refused = 0; refused < 500; std::this_thread::sleep_for(1ms))
        for (std::uint32_t size = 1u << 20; size > 0; size /= 2)
            refused = SendSocket(client->Socket(), junk.data(), size) > 0 ? 0 : refused + 1;
    SetBlocking(client->Socket(), true);
    const auto leaving = std::async(std::launch::async, [&] { client.reset(); });
    EXPECT_EQ(leaving.wait_for(10s), std::future_status::ready);
    over.set_value();
}

}  // namespace
}  // namespace tarnwell
