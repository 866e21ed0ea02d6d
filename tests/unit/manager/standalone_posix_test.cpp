#include "manager/core/standalone.h"

#include <gmock/gmock.h>

#include <future>

#include "common/system/net/http_request.h"
#include "common/system/net/http_server.h"

namespace tarnwell::manager {
namespace {

/// Says `request` and returns everything that comes back. The connection stays open for writing,
/// as a client's does that waits for an answer.
std::string Talk(std::uint16_t port, const std::string& request) {
    CHttpConnection connection;
    connection.Connect(CHttpUrl::Parse("http://127.0.0.1:" + std::to_string(port)));
    connection.SendAll(request);
    std::string answer;
    ByteArray chunk;
    while (!request.empty() && connection.ReceiveChunk(chunk))
        answer.append(chunk.begin(), chunk.end());
    return answer;
}

TEST(Standalone, AnswersAndDoesNothing) {
    const std::string start = "GET /dyn/tarnwell_init?action=SIGN&files=C%3A%5Ca";
    const std::string rest = " HTTP/1.0\r\nOrigin: tarnwell.localhost\r\nHost: 127.0.0.1\r\n\r\n";
    const struct {
        std::string request;
        ExitStatus status;
        const char* beginning;
    } cases[] = {
        {"POST /dyn/tarnwell_init" + rest + std::string(9000, 'x'), ExitStatus::kRefused,
         "HTTP/1.1 405 Method Not Allowed\r\n"},
        {start, ExitStatus::kRefused, "HTTP/1.1 408 Request Timeout\r\n"},
        {start + rest, ExitStatus::kFailed, "HTTP/1.1 500 Internal Server Error\r\n"},
    };
    Options options;
    options.home = u"/dev/null/home";  // no identity can be made there
    options.idle = std::chrono::seconds(3);
    std::string said;
    const CLog log(1, [&](std::string_view line) { said += line; });
    CFiles files;
    for (const auto& row : cases) {
        std::future<std::string> answer;
        const auto announce = [&](std::uint16_t port) {
            answer = std::async(std::launch::async, [&row, port] {
                Talk(port, "");  // a scanner that comes first and says nothing
                return Talk(port, row.request);
            });
            return true;
        };
        EXPECT_EQ(RunStandalone(options, announce, files, log, Opener()), row.status);
        const std::string text = answer.get();
        EXPECT_THAT(text, testing::StartsWith(row.beginning));
        EXPECT_EQ(text.find("Access-Control"), text.npos) << "a page may read it";
    }
    EXPECT_THAT(said, testing::HasSubstr("connected and sent nothing"));
}

}  // namespace
}  // namespace tarnwell::manager
