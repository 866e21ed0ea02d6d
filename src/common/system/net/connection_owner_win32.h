#pragma once

// Which local process holds the other end of an accepted loopback connection, and in which Windows
// session it runs: how a server on this machine tells its user's programs from somebody else's.
// Nothing is kept between calls; any thread may call.

#include <cstdint>

#include "common/system/net/socket.h"
#include "common/system/os/windows.h"
// Windows last.
#include <iphlpapi.h>

namespace tarnwell {

/// What fetches the table of TCP connections with their processes: GetTcpTable2 (iphlpapi.h).
using TcpTableReader = ULONG(WINAPI*)(MIB_TCPTABLE2* table, ULONG* size, BOOL sorted);

/// GetClientProcessId gives the id of the process that holds the peer's end of `socket`, which is
/// connected over IPv4; 0 if the table cannot be had or no row of it matches. The first row of the
/// table is never looked at, so a connection that stands there has no process.
std::uint32_t GetClientProcessId(SocketHandle socket,
                                 TcpTableReader reader = &GetTcpTable2) noexcept;

/// GetClientSessionId gives the session of that process; 0 if it cannot be told.
std::uint32_t GetClientSessionId(SocketHandle socket) noexcept;

/// GetCurrentSessionId gives the session of the calling process; 0 if it cannot be told.
std::uint32_t GetCurrentSessionId() noexcept;

}  // namespace tarnwell
