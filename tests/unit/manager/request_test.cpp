#include "manager/core/request.h"

#include <gtest/gtest.h>

#include "manager/core/head_reader.h"
#include "manager/core/response.h"
#include "support/heap_checks.h"

namespace tarnwell::manager {
namespace {

constexpr std::uint16_t kPort = 49213;
constexpr std::string_view kExtension = "tarnwell.localhost";
constexpr std::string_view kGood = "/dyn/tarnwell_init?action=SIGN&files=C%3A%5Ca.txt";

/// The request that the extension sends, with parts that a test can replace.
struct Request {
    std::string method = "GET";
    std::string target{kGood};
    std::string version = "HTTP/1.0";
    std::string fields = "User-Agent: x\r\nOrigin: tarnwell.localhost\r\nHost: 127.0.0.1\r\n";

    std::string Head() const { return method + " " + target + " " + version + "\r\n" + fields; }
};

Judgement JudgeHead(const std::string& head) {
    return JudgeRequest(head, kPort, kExtension);
}

/// 200, or the refusal's status.
int StatusOf(const std::string& head) {
    const Judgement judgement = JudgeHead(head);
    const Refusal* refusal = std::get_if<Refusal>(&judgement);
    if (refusal) {
        EXPECT_FALSE(refusal->why.empty()) << head;
    }
    return refusal ? refusal->status : 200;
}

TEST(JudgeRequest, TakesWhatTheExtensionSends) {
    Request request;
    request.target =
        "/dyn/tarnwell_init?action=ENCRYPT&files="
        "C%3A%5Ca%20b.txt%2CD%3A%5C%C3%A9(1)!*~_-.txt";
    const Judgement judgement = JudgeHead(request.Head());
    const Command* command = std::get_if<Command>(&judgement);
    ASSERT_NE(command, nullptr);
    EXPECT_EQ(command->action, CPKCS7_TYPE::ENCRYPT);
    EXPECT_EQ(command->files, "C:\\a b.txt,D:\\\xC3\xA9(1)!*~_-.txt");
}

TEST(JudgeRequest, ReadsTheQueryInAnyOrderAndIgnoresKeysThatItDoesNotKnow) {
    Request request;
    request.target = "/dyn/tarnwell_init?x&files=C%3A%5Ca&lang=fr&action=RECOVER&";
    const Judgement judgement = JudgeHead(request.Head());
    const Command* command = std::get_if<Command>(&judgement);
    ASSERT_NE(command, nullptr);
    EXPECT_EQ(command->action, CPKCS7_TYPE::RECOVER);
    EXPECT_EQ(command->files, "C:\\a");
}

TEST(JudgeRequest, JudgesTheTarget) {
    struct Case {
        const char* target;
        int status;
    };
    const Case cases[] = {
        {"/dyn/tarnwell_init?action=SIGN&files=C%3A%5Ca", 200},
        {"/dyn/tarnwell_init?action=SIGNENCRYPT&files=C%3A%5Ca", 200},
        {"/", 404},
        {"/favicon.ico", 404},
        {"/dyn/tarnwell_init/?action=SIGN&files=C%3A%5Ca", 404},
        {"/dyn/tarnwell_initX?action=SIGN&files=C%3A%5Ca", 404},
        {"/dyn/../dyn/tarnwell_init?action=SIGN&files=C%3A%5Ca", 404},
        {"/DYN/tarnwell_init?action=SIGN&files=C%3A%5Ca", 404},
        {"/dyn/tarnwell%5Finit?action=SIGN&files=C%3A%5Ca", 404},
        {"//dyn/tarnwell_init?action=SIGN&files=C%3A%5Ca", 404},
        {"http://127.0.0.1/dyn/tarnwell_init?action=SIGN&files=C%3A%5Ca", 400},
        {"*", 400},
        {"", 400},
        {"/dyn/tarnwell_init", 400},
        {"/dyn/tarnwell_init?", 400},
        {"/dyn/tarnwell_init?files=C%3A%5Ca", 400},
        {"/dyn/tarnwell_init?action=&files=C%3A%5Ca", 400},
        {"/dyn/tarnwell_init?action&files=C%3A%5Ca", 400},
        {"/dyn/tarnwell_init?action=sign&files=C%3A%5Ca", 400},
        {"/dyn/tarnwell_init?action=UNKNOWN&files=C%3A%5Ca", 400},
        {"/dyn/tarnwell_init?action=DELETE&files=C%3A%5Ca", 400},
        {"/dyn/tarnwell_init?action=SIGN%00&files=C%3A%5Ca", 400},
        {"/dyn/tarnwell_init?action=SIGN&action=RECOVER&files=C%3A%5Ca", 400},
        {"/dyn/tarnwell_init?action=SIGN", 400},
        {"/dyn/tarnwell_init?action=SIGN&files=", 400},
        {"/dyn/tarnwell_init?action=SIGN&files", 400},
        {"/dyn/tarnwell_init?action=SIGN&files=C%3A%5Ca&files=C%3A%5Cb", 400},
        {"/dyn/tarnwell_init?action=SIGN&files=C%3", 400},
        {"/dyn/tarnwell_init?action=SIGN&files=C%", 400},
        {"/dyn/tarnwell_init?action=SIGN&files=C%zz", 400},
        {"/dyn/tarnwell_init?action=SIGN&files=C%+1", 400},
        {"/dyn/tarnwell_init?action=SIGN&files=C%3A%5Ca%00.txt", 400},
        {"/dyn/tarnwell_init?action=SIGN&files=C%3A%5Ca%0D%0Ab", 400},
        {"/dyn/tarnwell_init?action=SIGN&files=C%3A%5Ca#x", 400},
        {"/dyn/tarnwell_init?action=SIGN&files=C:\\\xC3\xA9", 400},
    };
    for (const Case& each : cases) {
        Request request;
        request.target = each.target;
        EXPECT_EQ(StatusOf(request.Head()), each.status) << each.target;
    }
}

TEST(JudgeRequest, KeepsWebPagesAndOtherHostsOut) {
    struct Case {
        const char* fields;
        int status;
    };
    const Case cases[] = {
        {"Origin: tarnwell.localhost\r\nHost: 127.0.0.1\r\n", 200},
        {"oRIGIN:tarnwell.localhost\r\nhOST: \t127.0.0.1:49213 \r\n", 200},
        {"Host: 127.0.0.1\r\n", 403},
        {"Origin:\r\nHost: 127.0.0.1\r\n", 403},
        {"Origin: null\r\nHost: 127.0.0.1\r\n", 403},
        {"Origin: http://tarnwell.localhost\r\nHost: 127.0.0.1\r\n", 403},
        {"Origin: TARNWELL.localhost\r\nHost: 127.0.0.1\r\n", 403},
        {"Origin: tarnwell.localhost.evil.example\r\nHost: 127.0.0.1\r\n", 403},
        {"Origin: tarnwell.localhost, http://evil.example\r\nHost: 127.0.0.1\r\n", 403},
        {"Origin: tarnwell.localhost\r\nOrigin: http://evil.example\r\nHost: 127.0.0.1\r\n", 403},
        {"Origin: tarnwell.localhost\r\n", 400},
        {"Origin: tarnwell.localhost\r\nHost: 127.0.0.1\r\nHost: evil.example\r\n", 400},
        {"Origin: tarnwell.localhost\r\nHost: evil.example\r\n", 421},
        {"Origin: tarnwell.localhost\r\nHost: localhost\r\n", 421},
        {"Origin: tarnwell.localhost\r\nHost: 127.0.0.1:80\r\n", 421},
        {"Origin: tarnwell.localhost\r\nHost: 127.0.0.1.evil.example\r\n", 421},
    };
    for (const Case& each : cases) {
        Request request;
        request.fields = each.fields;
        EXPECT_EQ(StatusOf(request.Head()), each.status) << each.fields;
    }
}

TEST(JudgeRequest, RefusesWhatIsNoPlainGet) {
    const std::string extension = "Origin: tarnwell.localhost\r\nHost: 127.0.0.1\r\n";
    struct Case {
        const char* method;
        const char* version;
        std::string fields;
        int status;
    };
    const Case cases[] = {
        {"POST", "HTTP/1.1", extension + "Content-Length: 5\r\n", 405},
        {"HEAD", "HTTP/1.1", extension, 405},
        {"OPTIONS", "HTTP/1.1", extension, 405},
        {"get", "HTTP/1.1", extension, 405},
        {"G(T", "HTTP/1.1", extension, 400},
        {"GET", "HTTP/2.0", extension, 505},
        {"GET", "HTTP/1.10", extension, 505},
        {"GET", "HTTP/0.9", extension, 505},
        {"GET", "HTTQ/1.0", extension, 400},
        {"GET", "", extension, 400},
        {"GET", "HTTP/1.0 x", extension, 400},
        {"GET", "HTTP/1.1", extension + "Content-Length: 5\r\n", 400},
        {"GET", "HTTP/1.1", extension + "Content-Length: 0\r\n", 200},
        {"GET", "HTTP/1.1", extension + "Transfer-Encoding: chunked\r\n", 400},
        {"GET", "HTTP/1.1", extension + "no colon\r\n", 400},
        {"GET", "HTTP/1.1", extension + ": no name\r\n", 400},
        {"GET", "HTTP/1.1", extension + "Blank : x\r\n", 400},
        {"GET", "HTTP/1.1", extension + " folded: x\r\n", 400},
        {"GET", "HTTP/1.1", extension + "X: a\rOrigin: b\r\n", 400},
        {"GET", "HTTP/1.1", extension + std::string("X: \0\r\n", 6), 400},
        {"GET", "HTTP/1.1", extension + "X: bare line feed\n", 400},
    };
    for (const Case& each : cases) {
        Request request;
        request.method = each.method;
        request.version = each.version;
        request.fields = each.fields;
        EXPECT_EQ(StatusOf(request.Head()), each.status) << request.Head();
    }
    for (const char* noise : {"", "\n", "\r\n", "\r\n\r\n", " ", "GET\r\n", "GET /\r\n",
                              "PRI * HTTP/2.0\r\n", "\x16\x03\x01\x02\r\n"})
        EXPECT_EQ(StatusOf(noise), 400) << noise;
}

TEST(HeadReader, FindsTheEndWhereverTheBytesAreCut) {
    const std::string head = "GET / HTTP/1.0\r\nHost: x\r\n";
    const std::string whole = head + "\r\nrest";
    for (std::size_t piece = 1; piece <= whole.size(); ++piece) {
        CHeadReader reader;
        CHeadReader::State state = CHeadReader::State::kReading;
        for (std::size_t at = 0; at < whole.size(); at += piece)
            state = reader.Feed(std::string_view(whole).substr(at, piece));
        EXPECT_EQ(state, CHeadReader::State::kComplete) << piece;
        EXPECT_EQ(reader.Head(), head) << piece;
    }
}

TEST(HeadReader, EndsAtAnEmptyLineOfBareLineFeedsToo) {
    CHeadReader reader;
    EXPECT_EQ(reader.Feed("GET / HTTP/1.0\nHost: x\n"), CHeadReader::State::kReading);
    EXPECT_EQ(reader.Feed("\n"), CHeadReader::State::kComplete);
    EXPECT_EQ(StatusOf(std::string(reader.Head())), 400);
}

TEST(HeadReader, StopsAtItsLimitAndNotBefore) {
    const std::string head = "GET / HTTP/1.0\r\nX: " + std::string(100, 'x') + "\r\n";
    CHeadReader fits(head.size());
    EXPECT_EQ(fits.Feed(head + "\r\n"), CHeadReader::State::kComplete);
    CHeadReader tight(head.size() - 1);
    EXPECT_EQ(tight.Feed(head + "\r\n"), CHeadReader::State::kTooLarge);

    CHeadReader endless(1000);
    int pieces = 1;
    while (endless.Feed("endless line ") == CHeadReader::State::kReading)
        ++pieces;
    EXPECT_EQ(pieces, 77);  // 77 times 13 bytes is the first sum above 1000
}

TEST(HeadReader, TakesAThousandLongPathsInAnyScript) {
    // A path of 150 units of which each is three bytes in UTF-8, escaped.
    std::string path;
    for (int i = 0; i < 150; ++i)
        path += "%E4%B8%AD";
    std::string head = "GET /dyn/tarnwell_init?action=SIGN&files=";
    for (int i = 0; i < test::Size(5000, 300); ++i)
        head += "C%3A%5C" + path + "%2C";
    head += " HTTP/1.0\r\nOrigin: tarnwell.localhost\r\nHost: 127.0.0.1\r\n";
    CHeadReader reader;
    ASSERT_EQ(reader.Feed(head + "\r\n"), CHeadReader::State::kComplete);
    EXPECT_EQ(StatusOf(std::string(reader.Head())), 200);
}

TEST(RefusalResponse, IsAWholeResponseThatNoPageMayRead) {
    const std::string text = RefusalResponse(Refusal{405, "Only GET."});
    EXPECT_TRUE(text.starts_with("HTTP/1.1 405 Method Not Allowed\r\n")) << text;
    EXPECT_NE(text.find("\r\nAllow: GET\r\n"), text.npos);
    EXPECT_NE(text.find("\r\nContent-Length: 11\r\n"), text.npos);
    EXPECT_TRUE(text.ends_with("\r\n\r\nOnly GET.\r\n"));
    EXPECT_EQ(text.find("Access-Control"), text.npos);
    for (const int status : {400, 403, 404, 405, 408, 421, 422, 431, 500, 505})
        EXPECT_NE(ReasonPhrase(status), "Error") << status;
}

}  // namespace
}  // namespace tarnwell::manager
