#pragma once

// The narrow seam to the operating system's IPv4 stream sockets. Two twins implement it, and both
// report errors as Winsock codes, so that everything above reads the same on either system.
// Blocking; any thread may call, one thread at a time for one socket.

#include <chrono>
#include <cstdint>
#include <optional>

#include "common/system/os/unique.h"

namespace tarnwell {

using SocketHandle = std::uintptr_t;
inline constexpr SocketHandle kNoSocket = ~SocketHandle{0};

/// The Winsock code for "connection timed out", which a missed deadline reports.
inline constexpr int kSocketTimedOut = 10060;

/// An IPv4 address in network byte order and a port in the machine's.
struct CIpv4Endpoint {
    std::uint32_t address = 0;
    std::uint16_t port = 0;
};

/// StartSockets readies the socket library for this process, once however often it is called.
void StartSockets() noexcept;

/// LastSocketError is the calling thread's last socket error as a Winsock code.
int LastSocketError() noexcept;
void SetLastSocketError(int winsockCode) noexcept;

/// ResolveHost reads a numeric IPv4 address in any form that inet_addr takes (four parts or
/// fewer; decimal, octal or hexadecimal) or asks the resolver and gives its first IPv4 address,
/// in network byte order; nothing if the name has none.
std::optional<std::uint32_t> ResolveHost(const char* host) noexcept;

/// OpenSocket gives a TCP/IPv4 stream socket or kNoSocket.
SocketHandle OpenSocket() noexcept;
/// ConnectSocket connects without a time-out; false leaves the reason in LastSocketError.
bool ConnectSocket(SocketHandle socket, CIpv4Endpoint peer) noexcept;
/// SendSocket sends up to `length` bytes and returns how many, negative on error. A vanished peer
/// is an error, never a signal.
int SendSocket(SocketHandle socket, const void* bytes, std::uint32_t length) noexcept;
/// ReceiveSocket returns the count received, 0 at the end of the stream, negative on error.
int ReceiveSocket(SocketHandle socket, void* buffer, std::uint32_t capacity) noexcept;
/// WaitReadable waits until a receive or an accept would not block; false after `time` (the last
/// error is then kSocketTimedOut) and on error.
bool WaitReadable(SocketHandle socket, std::chrono::milliseconds time) noexcept;
/// SetBlocking says whether calls on the socket wait, as they do at first, or fail instead; nothing
/// for kNoSocket.
void SetBlocking(SocketHandle socket, bool blocking) noexcept;
void CloseSocket(SocketHandle socket) noexcept;

/// ListenOnLoopback binds 127.0.0.1 and a port that the system picks, and listens; kNoSocket on
/// failure. `port` receives the port.
SocketHandle ListenOnLoopback(std::uint16_t& port) noexcept;
/// AcceptSocket takes the next waiting connection; kNoSocket on failure.
SocketHandle AcceptSocket(SocketHandle listener) noexcept;

struct SocketTraits {
    using Value = SocketHandle;
    static Value Invalid() noexcept { return kNoSocket; }
    static void Close(Value value) noexcept { CloseSocket(value); }
};
using CUniqueSocket = CUnique<SocketTraits>;

}  // namespace tarnwell
