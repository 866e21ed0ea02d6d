#include "common/tls/https_connection.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <system_error>
#include <utility>

#include <openssl/err.h>
#include <openssl/ssl.h>

#include "common/crypto/openssl_owners.h"
#include "common/crypto/openssl_start.h"
#include "common/system/text/convert.h"
#include "common/system/trace/trace.h"
#include "common/tls/connection_bio.h"

namespace tarnwell {
namespace {

/// What a client that leaves without an answer waits for the server's end.
constexpr std::chrono::milliseconds kPatience(1000);

/// OpenSSL counts in int; a longer piece is sent or received in several.
int LengthOf(std::uint32_t length) noexcept {
    return static_cast<int>(std::min<std::uint32_t>(length, std::numeric_limits<int>::max()));
}

CISOString FirstErrorText() {
    char text[256];
    ERR_error_string_n(ERR_get_error(), text, sizeof text);
    return text;
}

/// Transfer makes one call of OpenSSL's and lets it leave nothing behind but the socket's error:
/// neither an older one of the thread's nor entries in OpenSSL's queue.
template <class Call>
int Transfer(Call call) {
    SetLastSocketError(0);
    const int result = call();
    if (result <= 0) {
        const int error = LastSocketError();
        ERR_clear_error();
        SetLastSocketError(error);
    }
    return result;
}

/// AwaitEnd takes what comes, read by nobody, until the peer closes or this much time is over.
void AwaitEnd(SocketHandle socket, std::chrono::milliseconds patience) noexcept {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + patience;
    char unread[4096];
    for (auto now = Clock::now(); now < end; now = Clock::now()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
        if (!WaitReadable(socket, left) || ReceiveSocket(socket, unread, sizeof unread) <= 0)
            return;
    }
}

CUnique<SslContextTraits> NewClientContext() {
    // First, so that OpenSSL does not register its clean-up with the process.
    StartOpenSsl();
    OPENSSL_init_ssl(0, nullptr);
    CUnique<SslContextTraits> context(SSL_CTX_new(TLS_client_method()));
    if (!context)
        TraceString("ERROR: Unable to create SSL context");
    return context;
}

}  // namespace

void SslSessionTraits::Close(Value value) noexcept {
    SSL_free(value);
}

void SslContextTraits::Close(Value value) noexcept {
    SSL_CTX_free(value);
}

CHttpsConnection::CHttpsConnection() : CHttpsConnection(IServerTrust::System()) {}

CHttpsConnection::CHttpsConnection(IServerTrust& trust)
    : m_trust(trust), m_context(NewClientContext()), m_session(SSL_new(m_context.Get())) {}

CHttpsConnection::CHttpsConnection(CUniqueSocket accepted, SSL_CTX* context,
                                   std::optional<std::chrono::milliseconds> receiveTime)
    : CHttpConnection(std::move(accepted)),
      m_trust(IServerTrust::System()),
      m_session(SSL_new(context)) {
    if (receiveTime)
        SetReceiveDeadline(*receiveTime);
    int result = 0;
    int kind = SSL_ERROR_SSL;  // what the lack of a session is
    int systemError = 0;
    if (m_session) {
        Attach();
        ERR_clear_error();
        result = SSL_accept(m_session.Get());
        systemError = errno;
        kind = SSL_get_error(m_session.Get(), result);
    }
    if (result > 0)
        return;
    CISOString detail;
    if (kind == SSL_ERROR_SSL || kind == SSL_ERROR_SYSCALL)
        detail = FirstErrorText();
    if (kind == SSL_ERROR_SYSCALL)
        detail = detail + " /// " + std::generic_category().message(systemError);
    ERR_clear_error();
    throw CHttpException("SSL accept failed: " + FromNumber(static_cast<unsigned>(kind)) + detail);
}

CHttpsConnection::~CHttpsConnection() {
    // A peer that has stopped reading must not keep this thread for the sake of a farewell.
    SetBlocking(Socket(), false);
    if (m_session)
        SSL_shutdown(m_session.Get());
    ERR_clear_error();
    // A server of TLS 1.3 sends session tickets unasked. Where they meet a closed socket, or are
    // closed over, the connection is reset, and what is still on its way to the server is lost.
    if (m_isUnanswered)
        AwaitEnd(Socket(), kPatience);
}

int CHttpsConnection::Send(const void* bytes, std::uint32_t length) {
    if (length == 0)
        return 0;  // SSL_write has no meaning for it
    const int sent = Transfer([&] { return SSL_write(m_session.Get(), bytes, LengthOf(length)); });
    m_isUnanswered = m_context && sent > 0;
    return sent;
}

int CHttpsConnection::Receive(void* buffer, std::uint32_t capacity) {
    if (capacity == 0)
        return 0;
    m_isUnanswered = false;
    return Transfer([&] { return SSL_read(m_session.Get(), buffer, LengthOf(capacity)); });
}

void CHttpsConnection::Attach() {
    BIO* bio = NewConnectionBio(*this);
    SSL_set_bio(m_session.Get(), bio, bio);  // the session owns it now
}

void CHttpsConnection::Connect(const CHttpUrl& url) {
    if (!url.valid)
        throw CHttpException("Invalid URL format");
    if (url.scheme != "https")
        throw CHttpException("Unknown URL scheme");
    OpenTo(url);

    ERR_clear_error();
    // A session that has spoken before would take its old handshake for this server's.
    if (!m_session || !SSL_in_before(m_session.Get()))
        m_session.Reset(SSL_new(m_context.Get()));
    if (!m_session)
        throw CHttpException("SSL connect failed: " + FirstErrorText());
    Attach();
    if (!SSL_set_tlsext_host_name(m_session.Get(), url.host.CStr()))
        throw CHttpException("SSL connect failed: unable to set tlsext host name");
    const int result = SSL_connect(m_session.Get());
    if (result <= 0) {
        const bool inLibrary = SSL_get_error(m_session.Get(), result) == SSL_ERROR_SSL;
        const CISOString detail = inLibrary ? FirstErrorText() : CISOString();
        ERR_clear_error();
        throw CHttpException("SSL connect failed: " + detail);
    }
    CheckServer(url.host);
}

void CHttpsConnection::CheckServer(const CISOString& host) {
    // A server without a certificate is accepted as it is, on purpose: it can only be reached when
    // a session was set up to allow anonymous servers, which the default settings do not.
    if (!SSL_get_peer_cert_chain(m_session.Get()))
        return;
    const CUniqueX509 certificate(SSL_get1_peer_certificate(m_session.Get()));
    TraceString("Server certificates:");
    const CUniqueOpenSslBytes subject(reinterpret_cast<unsigned char*>(
        X509_NAME_oneline(X509_get_subject_name(certificate.Get()), nullptr, 0)));
    TraceString("\tSubject: %s", subject ? reinterpret_cast<const char*>(subject.Get()) : "");

    CUniqueOpenSslBytes encoding;
    const int length = i2d_X509(certificate.Get(), encoding.Put());
    if (length <= 0)
        throw CHttpException("Unable to convert cert");
    if (!m_trust.Trusts({encoding.Get(), static_cast<std::size_t>(length)}, host))
        throw CHttpException("SSL connect failed: untrusted certificate chain");
}

std::unique_ptr<CHttpConnection> CHttpsConnectionFactory::Create(const CHttpUrl& url) {
    if (url.scheme == "https")
        return std::make_unique<CHttpsConnection>();
    return CHttpConnectionFactory::Create(url);
}

}  // namespace tarnwell
