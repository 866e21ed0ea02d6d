// Serves the library's TLS server side for clients that nobody here wrote: prints "port N", then
// one line a connection, "METHOD PATH" or "error " and the exception's message, until asked for
// /quit.
//
//     https_server CERTIFICATES.pem KEY.pem
//
//     /bytes/COUNT   so many bytes of the pattern
//     all else       the count and the digest of the body that came with the request

#include <cstdio>
#include <exception>

#include <openssl/ssl.h>

#include "common/system/net/http_server.h"
#include "common/tls/https_connection.h"
#include "wire_pattern.h"

using namespace tarnwell;
using namespace std::chrono_literals;

namespace {

/// ReadRequest reads the rest of the head and as many bytes of a body as it announces.
ByteArray ReadRequest(CHttpConnection& client) {
    constexpr std::string_view kLength = "Content-Length: ";
    std::size_t budget = kMaxHeadBytes, length = 0;
    for (CISOString line = client.ReadLine(budget); !line.IsEmpty(); line = client.ReadLine(budget))
        if (line.StartsWith(kLength))
            length = ParseUnsigned(line.AsView().substr(kLength.size())).value_or(0);
    ByteArray body, chunk;
    while (body.size() < length && client.ReceiveChunk(chunk))
        body.insert(body.end(), chunk.begin(), chunk.end());
    return body;
}

/// Answer serves one request; false when it is the last.
bool Answer(CHttpConnection& client) {
    constexpr std::string_view kBytes = "/bytes/";
    const CISOString request = client.ReadLine();
    const std::string_view line = request.AsView().substr(0, request.AsView().rfind(' '));
    const std::string_view path = line.substr(std::min(line.find('/'), line.size()));
    const ByteArray body = ReadRequest(client);
    if (path.starts_with(kBytes)) {
        const std::string bytes =
            test::Pattern(ParseUnsigned(path.substr(kBytes.size())).value_or(0));
        WriteResponseHead(client, "application/octet-stream",
                          static_cast<std::int64_t>(bytes.size()), true);
        client.SendAll(bytes);
    } else {
        WriteResponse(client, "text/plain", std::to_string(body.size()) + " " + test::Sha256(body));
    }
    std::printf("%.*s\n", static_cast<int>(line.size()), line.data());
    return path != "/quit";
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 3)
        return 2;
    StartOpenSsl();
    StartSockets();
    const CUnique<SslContextTraits> context(SSL_CTX_new(TLS_server_method()));
    std::uint16_t port = 0;
    const CUniqueSocket listener(ListenOnLoopback(port));
    if (!listener || SSL_CTX_use_certificate_chain_file(context.Get(), arguments[1]) != 1 ||
        SSL_CTX_use_PrivateKey_file(context.Get(), arguments[2], SSL_FILETYPE_PEM) != 1)
        return 1;
    std::printf("port %u\n", port);
    for (bool more = true; more && std::fflush(stdout) == 0;) {
        try {
            CHttpsConnection client(CUniqueSocket(AcceptSocket(listener.Get())), context.Get(),
                                    60s);
            more = Answer(client);
        } catch (const std::exception& error) {
            std::printf("error %s\n", error.what());
        }
    }
}
