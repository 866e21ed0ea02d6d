// Asks for addresses through the project's own client and tells what came of each, one line an
// address, so that a script can hold the client against servers that it starts. Options count from
// where they stand:
//
//     http_client [--post=COUNT] [--trust=FILE] [--judge=FILE] [--time] ADDRESS...
//
// --post posts so many bytes of a pattern. --trust believes in a server with exactly
// the certificate FILE (DER) instead of asking the system. With --judge nobody is asked: the system
// judges FILE for each ADDRESS, then a host's name. With --time the answer is the seconds it took.
//
//     200 OK; 5 headers; body 1234 bytes, sha256 9a3c…     the answer, read to its end
//     error Connection failed: Connection refused          the exception's message
//     trusted                                              a judgement, or "untrusted"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <optional>
#include <span>
#include <string_view>

#include "common/system/net/http_request.h"
#include "common/system/os/file.h"
#include "common/system/text/convert.h"
#include "common/tls/https_connection.h"
#include "wire_pattern.h"

using namespace tarnwell;

namespace {

/// Makes connections over TLS that believe in servers with one certificate and no other.
class CPinned : public CHttpConnectionFactory, public IServerTrust {
public:
    explicit CPinned(CFileBytes certificate) : m_certificate(std::move(certificate)) {}
    bool Trusts(std::span<const std::uint8_t> certificate, const CISOString&) override {
        return std::ranges::equal(certificate, m_certificate.AsSpan());
    }
    std::unique_ptr<CHttpConnection> Create(const CHttpUrl&) override {
        return std::make_unique<CHttpsConnection>(*this);
    }

private:
    CFileBytes m_certificate;
};

void Tell(CHttpConnectionFactory& factory, const char* address,
          const std::optional<std::string>& form, bool timed) try {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    const auto response = form ? PostForm(factory, CHttpUrl::Parse(address), *form, true)
                               : Get(factory, address, true);
    response->ReadAll();
    if (timed) {
        std::printf("%.4f\n", std::chrono::duration<double>(Clock::now() - start).count());
        return;
    }
    std::printf("%u %s; %zu headers; body %zu bytes, sha256 %s\n", response->StatusCode(),
                response->Reason().CStr(), response->Headers().size(), response->Body().size(),
                test::Sha256(response->Body()).c_str());
} catch (const std::exception& error) {
    std::printf("error %s\n", error.what());
}

CFileBytes Certificate(const std::string& path) {
    return ReadWholeFile(Utf16FromUtf8(path), 1 << 20);
}

}  // namespace

int main(int count, char** arguments) {
    std::unique_ptr<CHttpConnectionFactory> factory = std::make_unique<CHttpsConnectionFactory>();
    std::optional<std::string> form;
    std::optional<CFileBytes> judged;
    bool timed = false;
    for (int i = 1; i < count; ++i) {
        const std::string_view argument = arguments[i];
        const std::string value(argument.substr(std::min(argument.find('=') + 1, argument.size())));
        if (argument.starts_with("--post="))
            form = test::Pattern(std::stoul(value));
        else if (argument.starts_with("--trust="))
            factory = std::make_unique<CPinned>(Certificate(value));
        else if (argument.starts_with("--judge="))
            judged = Certificate(value);
        else if (argument == "--time")
            timed = true;
        else if (judged)
            std::puts(IServerTrust::System().Trusts(*judged, arguments[i]) ? "trusted"
                                                                           : "untrusted");
        else
            Tell(*factory, arguments[i], form, timed);
    }
}
