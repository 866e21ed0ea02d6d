#include "common/system/net/socket.h"

#include <algorithm>
#include <cstdlib>

#include "common/system/os/windows.h"

namespace tarnwell {
namespace {

/// IsInProgram tells whether this code lies in the process's program rather than in a DLL.
bool IsInProgram() noexcept {
    constexpr DWORD kByAddress =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    HMODULE module = nullptr;
    return GetModuleHandleExW(kByAddress, reinterpret_cast<LPCWSTR>(&IsInProgram), &module) &&
           module == GetModuleHandleW(nullptr);
}

bool Start() noexcept {
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    // What a DLL registers for the exit runs under the loader lock, where WSACleanup may not be
    // called, and it would run at every unload instead of at the process's end. There the system
    // takes the library down with the process; a reload costs one more count and no handle.
    if (IsInProgram())
        (void)std::atexit([] { WSACleanup(); });
    return true;
}

sockaddr_in AddressOf(CIpv4Endpoint endpoint) noexcept {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = endpoint.address;
    address.sin_port = htons(endpoint.port);
    return address;
}

/// The system counts in int; a longer piece is sent or received in several.
constexpr int LengthOf(std::uint32_t length) noexcept {
    return static_cast<int>(std::min<std::uint32_t>(length, 0x7FFFFFFF));
}

/// Prepared keeps the socket out of programs that this one starts, which would hold it open, and
/// lets short lines go out at once instead of each waiting for the peer to acknowledge the last.
SocketHandle Prepared(SOCKET socket) noexcept {
    if (socket == INVALID_SOCKET)
        return kNoSocket;
    const BOOL on = TRUE;
    SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
    return socket;
}

}  // namespace

static_assert(sizeof(SOCKET) == sizeof(SocketHandle) && kNoSocket == INVALID_SOCKET);
static_assert(kSocketTimedOut == WSAETIMEDOUT);

void StartSockets() noexcept {
    [[maybe_unused]] static const bool started = Start();
}

int LastSocketError() noexcept {
    return WSAGetLastError();
}

void SetLastSocketError(int winsockCode) noexcept {
    WSASetLastError(winsockCode);
}

std::optional<std::uint32_t> ResolveHost(const char* host) noexcept {
    const std::uint32_t numeric = inet_addr(host);
    if (numeric != INADDR_NONE)
        return numeric;
    const hostent* found = gethostbyname(host);
    if (!found || found->h_addrtype != AF_INET || !found->h_addr_list[0])
        return std::nullopt;
    std::uint32_t address = 0;
    std::copy_n(found->h_addr_list[0], sizeof address, reinterpret_cast<char*>(&address));
    return address;
}

SocketHandle OpenSocket() noexcept {
    return Prepared(socket(AF_INET, SOCK_STREAM, 0));
}

bool ConnectSocket(SocketHandle socket, CIpv4Endpoint peer) noexcept {
    const sockaddr_in address = AddressOf(peer);
    return connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

int SendSocket(SocketHandle socket, const void* bytes, std::uint32_t length) noexcept {
    return send(socket, static_cast<const char*>(bytes), LengthOf(length), 0);
}

int ReceiveSocket(SocketHandle socket, void* buffer, std::uint32_t capacity) noexcept {
    return recv(socket, static_cast<char*>(buffer), LengthOf(capacity), 0);
}

bool WaitReadable(SocketHandle socket, std::chrono::milliseconds time) noexcept {
    fd_set waiting;
    FD_ZERO(&waiting);
    FD_SET(socket, &waiting);
    timeval left{};
    left.tv_sec = static_cast<long>(time.count() / 1000);
    left.tv_usec = static_cast<long>(time.count() % 1000) * 1000;
    const int ready = select(0, &waiting, nullptr, nullptr, &left);
    if (ready == 0)
        SetLastSocketError(kSocketTimedOut);
    return ready > 0;
}

void SetBlocking(SocketHandle socket, bool blocking) noexcept {
    u_long nonBlocking = blocking ? 0 : 1;
    ioctlsocket(socket, static_cast<long>(FIONBIO), &nonBlocking);
}

void CloseSocket(SocketHandle socket) noexcept {
    closesocket(socket);
}

SocketHandle ListenOnLoopback(std::uint16_t& port) noexcept {
    CUniqueSocket listener(OpenSocket());
    if (!listener)
        return kNoSocket;
    // Without it another program of this machine could bind the same port and take the requests.
    const BOOL exclusive = TRUE;
    sockaddr_in address = AddressOf({htonl(INADDR_LOOPBACK), 0});
    int length = sizeof address;
    if (setsockopt(listener.Get(), SOL_SOCKET, SO_EXCLUSIVEADDRUSE,
                   reinterpret_cast<const char*>(&exclusive), sizeof exclusive) != 0 ||
        bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), length) != 0 ||
        listen(listener.Get(), SOMAXCONN) != 0 ||
        getsockname(listener.Get(), reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        const int error = LastSocketError();
        listener.Reset();
        SetLastSocketError(error);
        return kNoSocket;
    }
    port = ntohs(address.sin_port);
    return listener.Release();
}

SocketHandle AcceptSocket(SocketHandle listener) noexcept {
    return Prepared(accept(listener, nullptr, nullptr));
}

}  // namespace tarnwell
