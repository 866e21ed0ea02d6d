#pragma once

// One TCP connection and the line protocol over it. Owned by whoever created it until a response
// takes it over; the socket closes with the object. Fully blocking and without time-outs unless a
// server sets a deadline. A connection belongs to one thread at a time.

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "common/system/net/http_url.h"
#include "common/system/net/network_error.h"
#include "common/system/net/socket.h"
#include "common/system/text/string.h"

namespace tarnwell {

using ByteArray = std::vector<std::uint8_t>;

/// The most that the head of a message may take, from its first line to its empty line, line ends
/// included: 1 MiB. No peer can keep a reader busy for ever with an endless line or endless lines.
inline constexpr std::size_t kMaxHeadBytes = std::size_t{1} << 20;

class CHttpConnection {
public:
    /// The client's form: readies the socket library; unconnected until Connect.
    CHttpConnection();
    /// The server's form: adopts an accepted socket.
    explicit CHttpConnection(CUniqueSocket accepted) noexcept;
    CHttpConnection(const CHttpConnection&) = delete;
    CHttpConnection& operator=(const CHttpConnection&) = delete;

    // The transport. A secured connection replaces these; everything below runs over them.

    /// Send sends up to `length` bytes; returns the count sent or a negative value.
    virtual int Send(const void* bytes, std::uint32_t length);
    /// Receive returns the count received, 0 at the end of the stream, negative on error.
    virtual int Receive(void* buffer, std::uint32_t capacity);
    virtual ~CHttpConnection();
    /// Connect resolves the host and opens the connection. Throws CHttpException: "Invalid URL
    /// format", "Unknown URL scheme" (any but "http"), "Host "…" not found", "Connection failed:
    /// …".
    virtual void Connect(const CHttpUrl& url);

    /// SendAll sends every byte, in as many pieces as the system likes; nothing for no bytes.
    /// Throws CHttpException "Unable to send data: …" or "Sent zero bytes".
    void SendAll(std::string_view bytes);
    /// SendLine sends `line` and then CR LF. Throws as SendAll.
    void SendLine(std::string_view line);

    /// ReadLine takes bytes up to a line feed or the end of the stream and returns them without
    /// the line feed and without any carriage return. `budget` is what is left of the head's
    /// size and shrinks by every byte taken, line end included. Throws CHttpException "Unable to
    /// receive data: …", and "Bad HTTP response" when the budget does not reach the line's end.
    CISOString ReadLine(std::size_t& budget);
    /// ReadLine with a budget of its own, kMaxHeadBytes.
    CISOString ReadLine();

    /// ReceiveChunk replaces `chunk` by what is left over from reading lines, else by one receive
    /// of up to 2,000 bytes; returns whether it holds anything (false: the end of the stream).
    /// Throws CHttpException "Unable to receive data: …".
    bool ReceiveChunk(ByteArray& chunk);

    /// ReadByte takes the next byte, nothing at the end of the stream. Throws as ReceiveChunk.
    std::optional<std::uint8_t> ReadByte();

    /// AllowedOrigin is what the response head lets read the answer; empty (the default): nobody.
    const CISOString& AllowedOrigin() const noexcept { return m_allowedOrigin; }
    void SetAllowedOrigin(CISOString origin) noexcept { m_allowedOrigin = std::move(origin); }

    /// SetReceiveDeadline bounds all receiving from now on to `time` in total: later a receive
    /// fails with "Connection timed out", however slowly or steadily the peer drips. For servers.
    void SetReceiveDeadline(std::chrono::milliseconds time) noexcept;

protected:
    SocketHandle Socket() const noexcept { return m_socket.Get(); }
    /// OpenTo resolves the url's host and connects the socket. Throws as Connect does for these.
    void OpenTo(const CHttpUrl& url);

private:
    bool Refill();

    ByteArray m_buffer;
    std::uint64_t m_position = 0;
    CISOString m_allowedOrigin;
    CUniqueSocket m_socket;
    std::optional<std::chrono::steady_clock::time_point> m_deadline;
};

/// Chooses the connection for an address.
class CHttpConnectionFactory {
public:
    virtual ~CHttpConnectionFactory() = default;
    /// Create gives a new, unconnected connection. Throws CHttpException "Invalid protocol : "
    /// and the scheme for any scheme but "http" (exact case).
    virtual std::unique_ptr<CHttpConnection> Create(const CHttpUrl& url);
};

}  // namespace tarnwell
