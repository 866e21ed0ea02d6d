#include "manager/core/request.h"

#include <gtest/gtest.h>

#include "manager/core/head_reader.h"

namespace tarnwell::manager {
namespace {

using namespace std::string_literals;
using State = CHeadReader::State;

const std::string kFrom = "Origin: tarnwell.localhost\r\n";
const std::string kTo = "Host: 127.0.0.1\r\n";
const std::string kBoth = kFrom + kTo;

/// The request that the extension sends, with parts that a test can replace.
struct Request {
    std::string target = "/dyn/tarnwell_init?action=SIGN&files=C%3A%5Ca.txt";
    std::string fields = "User-Agent: x\r\n" + kBoth;
    std::string method = "GET";
    std::string version = "HTTP/1.0";

    std::string Head() const { return method + " " + target + " " + version + "\r\n" + fields; }
};

Judgement Judge(const Request& request) {
    return JudgeRequest(request.Head(), 49213, "tarnwell.localhost");
}

/// Expects requests to be refused with `status`, or to be taken where that is 200. They differ from
/// the extension's in one part, which is `start` and each of the `ends`.
void Expect(int status, std::string Request::*part, const std::string& start,
            const std::vector<std::string>& ends) {
    for (const std::string& end : ends) {
        Request request;
        request.*part = start + end;
        const Judgement judgement = Judge(request);
        const Refusal* refusal = std::get_if<Refusal>(&judgement);
        EXPECT_EQ(refusal ? refusal->status : 200, status) << request.Head();
    }
}

TEST(JudgeRequest, ReadsActionAndFilesAmongKeysThatItDoesNotKnow) {
    const std::string query = "x&files=C%3A%5Ca%20b%2CD%3A%5C%C3%A9(1)!*~_-&l=fr&action=RECOVER&";
    const Judgement judgement = Judge({"/dyn/tarnwell_init?" + query});
    const Command* command = std::get_if<Command>(&judgement);
    ASSERT_NE(command, nullptr);
    EXPECT_EQ(command->action, CPKCS7_TYPE::RECOVER);
    EXPECT_EQ(command->files, "C:\\a b,D:\\\u00E9(1)!*~_-");
}

TEST(JudgeRequest, JudgesTheTarget) {
    Expect(404, &Request::target, "/",
           {"", "dyn/tarnwell_init/", "dyn/../dyn/tarnwell_init", "/dyn/tarnwell_init",
            "DYN/tarnwell_init", "dyn/tarnwell%5Finit", "dyn/tarnwell_initX?action=SIGN&files=a"});
    Expect(400, &Request::target, "",
           {"", "*", "http://127.0.0.1/dyn/tarnwell_init", "/#", "/\xC3\xA9"});
    Expect(400, &Request::target, "/dyn/tarnwell_init", {"", "?", "?files=a"});
    Expect(400, &Request::target, "/dyn/tarnwell_init?files=a&action",
           {"", "=", "=sign", "=UNKNOWN", "=SIGN%00", "=SIGN&action=RECOVER"});
    Expect(400, &Request::target, "/dyn/tarnwell_init?action=SIGN",
           {"", "&files", "&files=", "&files=a&files=b", "&files=C%3", "&files=C%", "&files=C%zz",
            "&files=C%+1", "&files=a%00.txt", "&files=a%0D%0Ab"});
}

TEST(JudgeRequest, KeepsWebPagesAndOtherHostsOut) {
    Expect(200, &Request::fields, "",
           {"oRIGIN:tarnwell.localhost\r\nhOST: \t127.0.0.1:49213 \r\n"});
    Expect(403, &Request::fields, kTo,
           {"", "Origin:\r\n", "Origin: null\r\n", "Origin: http://tarnwell.localhost\r\n",
            "Origin: TARNWELL.localhost\r\n", "Origin: tarnwell.localhost.evil.example\r\n",
            kFrom + "Origin: http://evil.example\r\n"});
    Expect(421, &Request::fields, kFrom,
           {"Host: evil.example\r\n", "Host: localhost\r\n", "Host: 127.0.0.1:80\r\n",
            "Host: 127.0.0.1.evil.example\r\n"});
    Expect(400, &Request::fields, kFrom, {"", kTo + "Host: evil.example\r\n"});
}

TEST(JudgeRequest, RefusesWhatIsNoPlainGet) {
    Expect(200, &Request::fields, kBoth, {"Content-Length: 0\r\n"});
    Expect(400, &Request::fields, kBoth,
           {"Content-Length: 5\r\n", "Transfer-Encoding: chunked\r\n", "no colon\r\n",
            ": no name\r\n", "Blank : x\r\n", " folded: x\r\n", "X: a\rOrigin: b\r\n", "X: \0\r\n"s,
            "X: bare line feed\n"});
    Expect(405, &Request::method, "", {"POST", "HEAD", "get"});
    Expect(400, &Request::method, "",
           {"", "G(T", "\n", "GET\r\n", "GET /\r\n", "\x16\x03\x01\r\n"});
    Expect(505, &Request::version, "HTTP/", {"2.0", "1.10", "0.9"});
    Expect(400, &Request::version, "", {"", "HTTQ/1.0", "HTTP/1.0 x"});
}

TEST(HeadReader, FindsTheEndWhereverTheBytesAreCut) {
    for (const std::string head : {"GET / HTTP/1.0\r\nHost: x\r\n", "bare line feeds\nX: y\n"}) {
        const std::string whole = head + (head.ends_with("\r\n") ? "\r\nrest" : "\nrest");
        for (std::size_t piece = 1; piece <= whole.size(); ++piece) {
            CHeadReader reader;
            for (std::size_t at = 0; at < whole.size(); at += piece)
                reader.Feed(std::string_view(whole).substr(at, piece));
            EXPECT_EQ(reader.Feed(""), State::kComplete) << piece;
            EXPECT_EQ(reader.Head(), head) << piece;
        }
    }
}

TEST(HeadReader, StopsAtItsLimitAndNotBefore) {
    const std::string head = "GET / HTTP/1.0\r\nX: " + std::string(100, 'x') + "\r\n";
    EXPECT_EQ(CHeadReader(head.size()).Feed(head + "\r\n"), State::kComplete);
    EXPECT_EQ(CHeadReader(head.size() - 1).Feed(head + "\r\n"), State::kTooLarge);
    EXPECT_EQ(CHeadReader(head.size()).Feed(head + "X"), State::kTooLarge);
    // 5,000 paths of 150 units of which each is three bytes in UTF-8, escaped, must fit.
    EXPECT_EQ(CHeadReader().Feed(std::string(5000 * 150 * 9, 'x') + "\r\n\r\n"), State::kComplete);
}

}  // namespace
}  // namespace tarnwell::manager
