#include "manager/core/standalone.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <thread>

#include "common/system/net/http_request.h"
#include "common/system/net/http_server.h"
#include "shared_identity.h"
#include "support/temp_folder.h"

namespace tarnwell::manager {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::StartsWith;

CHttpUrl Address(std::uint16_t port) {
    return CHttpUrl::Parse("http://127.0.0.1:" + std::to_string(port));
}

/// Says what it is told to and returns everything that comes back. The connection stays open for
/// writing, as a client's does that waits for an answer.
std::string Talk(std::uint16_t port, const std::vector<std::string>& pieces,
                 std::chrono::milliseconds pause = 0ms) {
    CHttpConnection connection;
    connection.Connect(Address(port));
    std::string answer;
    try {
        for (const std::string& piece : pieces) {
            connection.SendAll(piece);
            std::this_thread::sleep_for(pause);
        }
        ByteArray chunk;
        while (connection.ReceiveChunk(chunk))
            answer.append(chunk.begin(), chunk.end());
    } catch (const CHttpException& problem) {
        answer += problem.what();
    }
    return answer;
}

/// A standalone manager whose starter is `client`, run on a thread of its own with the port.
class Standalone : public testing::Test {
protected:
    using Client = std::function<std::string(std::uint16_t)>;

    ExitStatus Run(const Client& client, std::chrono::seconds idle = 20s) {
        Options options;
        options.home = std::u16string(test::Utf16(m_home.Path()).AsView());
        options.idle = idle;
        std::future<std::string> answer;
        const auto announce = [&](std::uint16_t port) {
            answer = std::async(std::launch::async, client, port);
            return true;
        };
        const CLog log(1, [this](std::string_view line) { m_log += line; });
        const ExitStatus status = RunStandalone(options, announce, m_files, log, Opener());
        m_answer = answer.get();
        return status;
    }

    static test::CTempFolder& Home() {
        static test::CTempFolder folder;
        folder.Write("demo-identity/ca.pem", SharedPem().ca);
        folder.Write("demo-identity/ca.key.pem", SharedPem().caKey);
        folder.Write("demo-identity/signer.pem", SharedPem().signer);
        folder.Write("demo-identity/signer.key.pem", SharedPem().signerKey);
        return folder;
    }

    test::CTempFolder& m_home = Home();
    CFiles m_files;
    std::string m_log;
    std::string m_answer;
};

constexpr char kFields[] = "Origin: tarnwell.localhost\r\nHost: 127.0.0.1\r\n\r\n";

TEST_F(Standalone, RefusesWithAStatusAndDoesNothing) {
    struct Case {
        std::string request;
        const char* start;
    };
    const std::string path = "GET /dyn/tarnwell_init";
    const Case cases[] = {
        {"GET / HTTP/1.0\r\n" + std::string(kFields), "HTTP/1.1 404 Not Found\r\n"},
        {"POST /dyn/tarnwell_init HTTP/1.0\r\n" + std::string(kFields) + std::string(9000, 'x'),
         "HTTP/1.1 405 Method Not Allowed\r\n"},
        {path + "?action=SIGN&files=x HTTP/1.0\r\nHost: 127.0.0.1\r\n\r\n",
         "HTTP/1.1 403 Forbidden\r\n"},
        {path + "?action=SIGN HTTP/1.0\r\n" + kFields, "HTTP/1.1 400 Bad Request\r\n"},
        {path + "?action=SIGN&files=C%3A%5Cno%20such%2Cfile HTTP/1.0\r\n" + kFields,
         "HTTP/1.1 422 Unprocessable Content\r\n"},
        {"PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n", "HTTP/1.1 400 Bad Request\r\n"},
    };
    for (const Case& each : cases) {
        const ExitStatus status =
            Run([&](std::uint16_t port) { return Talk(port, {each.request}); });
        EXPECT_EQ(status, ExitStatus::kRefused) << each.request;
        EXPECT_THAT(m_answer, StartsWith(each.start));
    }
    EXPECT_THAT(m_log, HasSubstr("no existing file: C:\\no such,file"));
}

TEST_F(Standalone, ReadsARequestThatDripsIn) {
    std::vector<std::string> pieces;
    for (const char c : "GET / HTTP/1.0\r\n" + std::string(kFields))
        pieces.emplace_back(1, c);
    EXPECT_EQ(Run([&](std::uint16_t port) { return Talk(port, pieces, 1ms); }),
              ExitStatus::kRefused);
    EXPECT_THAT(m_answer, StartsWith("HTTP/1.1 404 "));
}

TEST_F(Standalone, IsNotKeptFromTheRealRequestByClientsThatSayNothing) {
    const auto client = [](std::uint16_t port) {
        {
            CHttpConnection scanner;
            scanner.Connect(Address(port));
        }
        return Talk(port, {"GET / HTTP/1.0\r\n" + std::string(kFields)});
    };
    EXPECT_EQ(Run(client), ExitStatus::kRefused);
    EXPECT_THAT(m_answer, StartsWith("HTTP/1.1 404 "));
    EXPECT_THAT(m_log, HasSubstr("connected and sent nothing"));
}

TEST_F(Standalone, ExitsWhenNoRequestComes) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Run([](std::uint16_t) { return std::string(); }, 1s), ExitStatus::kNoRequest);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
    EXPECT_THAT(m_log, HasSubstr("no request came within 1 s"));
}

TEST_F(Standalone, TellsAClientThatIsTooSlow) {
    const auto client = [](std::uint16_t port) {
        return Talk(port, {"GET /dyn/tarnwell_init?action=SIGN"});
    };
    EXPECT_EQ(Run(client, 1s), ExitStatus::kRefused);
    EXPECT_THAT(m_answer, StartsWith("HTTP/1.1 408 Request Timeout\r\n"));
}

TEST_F(Standalone, StopsWhenNobodyCanBeToldThePort) {
    const CLog log(1, [this](std::string_view line) { m_log += line; });
    EXPECT_EQ(RunStandalone(
                  Options(), [](std::uint16_t) { return false; }, m_files, log, Opener()),
              ExitStatus::kFailed);
    EXPECT_THAT(m_log, HasSubstr("takes no port"));
}

}  // namespace
}  // namespace tarnwell::manager
