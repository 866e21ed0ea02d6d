#include "common/system/net/socket.h"

#include <algorithm>
#include <cerrno>
#include <limits>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tarnwell {
namespace {

struct ErrorPair {
    int system;
    int winsock;
};

constexpr ErrorPair kErrors[] = {
    {0, 0},
    {EINTR, 10004},
    {EBADF, 10009},
    {EACCES, 10013},
    {EPERM, 10013},
    {EFAULT, 10014},
    {EINVAL, 10022},
    {EMFILE, 10024},
    {ENFILE, 10024},
    {EAGAIN, 10035},
    {EINPROGRESS, 10036},
    {EALREADY, 10037},
    {ENOTSOCK, 10038},
    {EDESTADDRREQ, 10039},
    {EMSGSIZE, 10040},
    {EPROTOTYPE, 10041},
    {ENOPROTOOPT, 10042},
    {EPROTONOSUPPORT, 10043},
    {ESOCKTNOSUPPORT, 10044},
    {EOPNOTSUPP, 10045},
    {EPFNOSUPPORT, 10046},
    {EAFNOSUPPORT, 10047},
    {EADDRINUSE, 10048},
    {EADDRNOTAVAIL, 10049},
    {ENETDOWN, 10050},
    {ENETUNREACH, 10051},
    {ENETRESET, 10052},
    {ECONNABORTED, 10053},
    {ECONNRESET, 10054},
    // A pipe broken by the peer is what Winsock calls an aborted connection.
    {EPIPE, 10053},
    {ENOBUFS, 10055},
    {ENOMEM, 10055},
    {EISCONN, 10056},
    {ENOTCONN, 10057},
    {ESHUTDOWN, 10058},
    {ETOOMANYREFS, 10059},
    {ETIMEDOUT, kSocketTimedOut},
    {ECONNREFUSED, 10061},
    {EHOSTDOWN, 10064},
    {EHOSTUNREACH, 10065},
};

/// A code that no table row has, so that its text says so.
constexpr int kUnknownError = -1;

thread_local int t_lastError = 0;

int DescriptorOf(SocketHandle socket) noexcept {
    return static_cast<int>(static_cast<std::intptr_t>(socket));
}

SocketHandle HandleOf(int descriptor) noexcept {
    return static_cast<SocketHandle>(static_cast<std::intptr_t>(descriptor));
}

/// Remember keeps the error of a call that gave `result`, as Winsock does, and passes it on.
template <class Result>
Result Remember(Result result) noexcept {
    if (result < 0) {
        const auto* pair = std::find_if(std::begin(kErrors), std::end(kErrors),
                                        [](ErrorPair p) { return p.system == errno; });
        t_lastError = pair != std::end(kErrors) ? pair->winsock : kUnknownError;
    }
    return result;
}

/// Retry repeats a call that a signal interrupted.
template <class Call>
auto Retry(Call call) noexcept {
    for (;;) {
        const auto result = call();
        if (result >= 0 || errno != EINTR)
            return Remember(result);
    }
}

sockaddr_in AddressOf(CIpv4Endpoint endpoint) noexcept {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = endpoint.address;
    address.sin_port = htons(endpoint.port);
    return address;
}

/// Prepared lets short lines go out at once instead of each waiting for the peer to acknowledge
/// the last.
SocketHandle Prepared(int descriptor) noexcept {
    const int on = 1;
    if (descriptor >= 0)
        setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return HandleOf(descriptor);
}

constexpr std::size_t LengthOf(std::uint32_t length) noexcept {
    return std::min<std::uint32_t>(length, std::numeric_limits<std::int32_t>::max());
}

}  // namespace

void StartSockets() noexcept {}

int LastSocketError() noexcept {
    return t_lastError;
}

void SetLastSocketError(int winsockCode) noexcept {
    t_lastError = winsockCode;
}

std::optional<std::uint32_t> ResolveHost(const char* host) noexcept {
    const in_addr_t numeric = inet_addr(host);
    if (numeric != INADDR_NONE)
        return numeric;
    addrinfo wanted{};
    wanted.ai_family = AF_INET;
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(host, nullptr, &wanted, &found) != 0)
        return std::nullopt;
    const CUnique<CPointerTraits<addrinfo, freeaddrinfo>> list(found);
    return reinterpret_cast<const sockaddr_in*>(found->ai_addr)->sin_addr.s_addr;
}

SocketHandle OpenSocket() noexcept {
    return Prepared(Remember(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)));
}

bool ConnectSocket(SocketHandle socket, CIpv4Endpoint peer) noexcept {
    if (socket == kNoSocket) {
        errno = ENOTSOCK;  // Winsock's word for what would be a bad descriptor here
        return Remember(-1) == 0;
    }
    const sockaddr_in address = AddressOf(peer);
    const int descriptor = DescriptorOf(socket);
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return true;
    if (errno != EINTR)
        return Remember(-1) == 0;
    // A signal leaves the attempt going on by itself: wait for its outcome instead of repeating.
    pollfd waiting{descriptor, POLLOUT, 0};
    socklen_t length = sizeof(int);
    int outcome = 0;
    if (Retry([&] { return poll(&waiting, 1, -1); }) < 0 ||
        Remember(getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &outcome, &length)) < 0)
        return false;
    errno = outcome;
    return outcome == 0 || Remember(-1) == 0;
}

int SendSocket(SocketHandle socket, const void* bytes, std::uint32_t length) noexcept {
    return static_cast<int>(
        Retry([&] { return send(DescriptorOf(socket), bytes, LengthOf(length), MSG_NOSIGNAL); }));
}

int ReceiveSocket(SocketHandle socket, void* buffer, std::uint32_t capacity) noexcept {
    return static_cast<int>(
        Retry([&] { return recv(DescriptorOf(socket), buffer, LengthOf(capacity), 0); }));
}

bool WaitReadable(SocketHandle socket, std::chrono::milliseconds time) noexcept {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + time;
    const int ready = Retry([&] {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd waiting{DescriptorOf(socket), POLLIN, 0};
        return poll(
            &waiting, 1,
            static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max())));
    });
    if (ready == 0)
        SetLastSocketError(kSocketTimedOut);
    return ready > 0;
}

void SetBlocking(SocketHandle socket, bool blocking) noexcept {
    const int flags = fcntl(DescriptorOf(socket), F_GETFL);
    if (flags >= 0)
        fcntl(DescriptorOf(socket), F_SETFL, blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK);
}

void CloseSocket(SocketHandle socket) noexcept {
    close(DescriptorOf(socket));
}

SocketHandle ListenOnLoopback(std::uint16_t& port) noexcept {
    CUniqueSocket listener(OpenSocket());
    if (!listener)
        return kNoSocket;
    const int descriptor = DescriptorOf(listener.Get());
    sockaddr_in address = AddressOf({htonl(INADDR_LOOPBACK), 0});
    socklen_t length = sizeof address;
    if (Remember(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), length)) != 0 ||
        Remember(listen(descriptor, SOMAXCONN)) != 0 ||
        Remember(getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length)) != 0)
        return kNoSocket;
    port = ntohs(address.sin_port);
    return listener.Release();
}

SocketHandle AcceptSocket(SocketHandle listener) noexcept {
    return Prepared(
        Retry([&] { return accept4(DescriptorOf(listener), nullptr, nullptr, SOCK_CLOEXEC); }));
}

}  // namespace tarnwell
