#pragma once

// The HTTP connection over TLS, for clients and servers: the requests, responses and server pieces
// of the HTTP library run over it unchanged. Owned and used as CHttpConnection is: one thread at a
// time, blocking, the socket closed with the object. A stream that ends without TLS's own farewell
// has ended all the same: somebody on the way may have cut it, so who needs a body to be whole
// compares its length.
//
// The library's share of OpenSSL is per thread: a thread that ends should call
// OPENSSL_thread_stop(), which frees what OpenSSL keeps for it.

#include <chrono>
#include <memory>
#include <optional>

#include <openssl/types.h>

#include "common/system/net/http_connection.h"
#include "common/system/os/unique.h"
#include "common/tls/server_trust.h"

namespace tarnwell {

struct SslSessionTraits {
    using Value = SSL*;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept;
};
struct SslContextTraits {
    using Value = SSL_CTX*;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept;
};

class CHttpsConnection : public CHttpConnection {
public:
    /// The client's form, for servers that the operating system trusts; unconnected until Connect.
    /// Starts OpenSSL. A context that cannot be made is traced, and Connect then fails.
    CHttpsConnection();
    /// The client's form with a judge of the caller's own, which must outlive the connection.
    explicit CHttpsConnection(IServerTrust& trust);
    /// The server's form: adopts an accepted socket and shakes hands as `context` says, which stays
    /// the caller's (who calls StartOpenSsl before making it). With `receiveTime` the handshake and
    /// all receiving after it must be over in that time; without it, a client that says nothing
    /// holds the thread for ever. Throws CHttpException "SSL accept failed: " and OpenSSL's error
    /// kind and text; the socket is then closed.
    CHttpsConnection(CUniqueSocket accepted, SSL_CTX* context,
                     std::optional<std::chrono::milliseconds> receiveTime = std::nullopt);
    /// Sends TLS's farewell if that takes no waiting, then closes. A client that has sent something
    /// and received nothing since waits up to a second for the server to close first: closing over
    /// what a server says unasked would take from it what it has not received yet.
    ~CHttpsConnection() override;

    /// Send encrypts and sends; returns SSL_write's result, 0 for no bytes. LastSocketError is
    /// the socket's, or 0 where the failure is TLS's own.
    int Send(const void* bytes, std::uint32_t length) override;
    /// Receive returns SSL_read's result, 0 for no capacity. LastSocketError as for Send.
    int Receive(void* buffer, std::uint32_t capacity) override;
    /// Connect opens the connection, shakes hands and has the server judged. Each call is a
    /// session of its own. Throws CHttpException: "Invalid URL format", "Unknown URL scheme" (any
    /// but "https"), "Host "…" not found", "Connection failed: …", "SSL connect failed: …"
    /// (the handshake, by OpenSSL's text), "Unable to convert cert", "SSL connect failed: untrusted
    /// certificate chain".
    void Connect(const CHttpUrl& url) override;

protected:
    /// Session is the TLS session, for settings before Connect; null if it could not be made.
    SSL* Session() const noexcept { return m_session.Get(); }

private:
    void Attach();
    void CheckServer(const CISOString& host);

    IServerTrust& m_trust;
    CUnique<SslContextTraits> m_context;  // the client's own; none in the server's form
    CUnique<SslSessionTraits> m_session;
    bool m_isUnanswered = false;  ///< a client's: it has sent, and received nothing since
};

/// Chooses between the plain and the TLS connection.
class CHttpsConnectionFactory : public CHttpConnectionFactory {
public:
    /// Create gives a new, unconnected connection: plain for "http", TLS for "https" (exact case).
    /// Throws CHttpException "Invalid protocol : " and the scheme for any other.
    std::unique_ptr<CHttpConnection> Create(const CHttpUrl& url) override;
};

}  // namespace tarnwell
