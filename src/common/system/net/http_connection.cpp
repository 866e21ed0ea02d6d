#include "common/system/net/http_connection.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "common/system/net/socket_error_text.h"

namespace tarnwell {
namespace {

/// What one refill for reading lines asks for: heads are short, and a client that reads no body
/// should leave nothing it has paid for.
constexpr std::uint32_t kLineBuffer = 256;
constexpr std::uint32_t kChunk = 2000;

[[noreturn]] void ThrowWithSocketError(const char* what) {
    const int code = LastSocketError();
    throw CHttpException(CISOString(what) + SocketErrorText(code));
}

}  // namespace

CHttpConnection::CHttpConnection() {
    StartSockets();
}

CHttpConnection::CHttpConnection(CUniqueSocket accepted) noexcept : m_socket(std::move(accepted)) {}

CHttpConnection::~CHttpConnection() = default;

int CHttpConnection::Send(const void* bytes, std::uint32_t length) {
    return SendSocket(Socket(), bytes, length);
}

int CHttpConnection::Receive(void* buffer, std::uint32_t capacity) {
    if (m_deadline) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            *m_deadline - std::chrono::steady_clock::now());
        if (!WaitReadable(Socket(), std::max(left, std::chrono::milliseconds::zero())))
            return -1;
    }
    return ReceiveSocket(Socket(), buffer, capacity);
}

void CHttpConnection::Connect(const CHttpUrl& url) {
    if (!url.valid)
        throw CHttpException("Invalid URL format");
    if (url.scheme != "http")
        throw CHttpException("Unknown URL scheme");
    OpenTo(url);
}

void CHttpConnection::OpenTo(const CHttpUrl& url) {
    const auto address = ResolveHost(url.host.CStr());
    if (!address)
        throw CHttpException(CISOString("Host \"") + url.host + "\" not found");
    // What an earlier peer has sent is no answer of this one's.
    m_buffer.clear();
    m_position = 0;
    // A socket that could not be made needs no test of its own: it cannot be connected either.
    m_socket.Reset(OpenSocket());
    if (!ConnectSocket(Socket(), {*address, static_cast<std::uint16_t>(url.port)}))
        ThrowWithSocketError("Connection failed: ");
}

void CHttpConnection::SendAll(std::string_view bytes) {
    constexpr std::size_t kMost = std::numeric_limits<std::int32_t>::max();

    while (!bytes.empty()) {
        const auto length = static_cast<std::uint32_t>(std::min(bytes.size(), kMost));
        const int sent = Send(bytes.data(), length);
        if (sent < 0)
            ThrowWithSocketError("Unable to send data: ");
        if (sent == 0)
            throw CHttpException("Sent zero bytes");
        bytes.remove_prefix(std::min(bytes.size(), static_cast<std::size_t>(sent)));
    }
}

void CHttpConnection::SendLine(std::string_view line) {
    SendAll(line);
    SendAll("\r\n");
}

bool CHttpConnection::Refill() {
    if (m_position < m_buffer.size())
        return true;
    m_position = 0;
    m_buffer.resize(kLineBuffer);
    const int received = Receive(m_buffer.data(), kLineBuffer);
    m_buffer.resize(received < 0 ? 0 : std::min<std::size_t>(kLineBuffer, received));
    if (received < 0)
        ThrowWithSocketError("Unable to receive data: ");
    return received != 0;
}

CISOString CHttpConnection::ReadLine(std::size_t& budget) {
    CISOString line;
    while (Refill()) {
        const auto unread = m_buffer.begin() + static_cast<std::ptrdiff_t>(m_position);
        const auto feed = std::find(unread, m_buffer.end(), '\n');
        const bool ended = feed != m_buffer.end();
        const auto taken = static_cast<std::size_t>(feed - unread) + (ended ? 1 : 0);
        if (taken > budget)
            throw CHttpException("Bad HTTP response");
        budget -= taken;
        m_position += taken;

        const auto text = std::remove(unread, feed, '\r');
        line.Append(
            {reinterpret_cast<const char*>(&*unread), static_cast<std::size_t>(text - unread)});
        if (ended)
            break;
    }
    return line;
}

CISOString CHttpConnection::ReadLine() {
    std::size_t budget = kMaxHeadBytes;
    return ReadLine(budget);
}

bool CHttpConnection::ReceiveChunk(ByteArray& chunk) {
    chunk.clear();
    if (m_position < m_buffer.size()) {
        chunk.assign(m_buffer.begin() + static_cast<std::ptrdiff_t>(m_position), m_buffer.end());
        m_buffer.clear();
        m_position = 0;
        return true;
    }
    chunk.resize(kChunk);
    const int received = Receive(chunk.data(), kChunk);
    chunk.resize(received < 0 ? 0 : std::min<std::size_t>(kChunk, received));
    if (received < 0)
        ThrowWithSocketError("Unable to receive data: ");
    return !chunk.empty();
}

std::optional<std::uint8_t> CHttpConnection::ReadByte() {
    if (!Refill())
        return std::nullopt;
    return m_buffer[static_cast<std::size_t>(m_position++)];
}

void CHttpConnection::SetReceiveDeadline(std::chrono::milliseconds time) noexcept {
    m_deadline = std::chrono::steady_clock::now() + time;
}

std::unique_ptr<CHttpConnection> CHttpConnectionFactory::Create(const CHttpUrl& url) {
    if (url.scheme != "http")
        throw CHttpException(CISOString("Invalid protocol : ") + url.scheme);
    return std::make_unique<CHttpConnection>();
}

}  // namespace tarnwell
