#include "common/system/net/connection_owner_win32.h"

#include <algorithm>
#include <cstddef>
#include <optional>

#include "common/system/os/owners_win32.h"
#include "common/system/trace/trace.h"

namespace tarnwell {
namespace {

using CTableBlock = CUnique<CPointerTraits<void, GlobalFree>>;

/// One end of a connection, address and port as the network orders them.
struct End {
    DWORD address;
    std::uint16_t port;
    bool operator==(const End&) const = default;
};

/// Asked gives one end of the socket; nothing unless it is an IPv4 one.
std::optional<End> Asked(SocketHandle socket, int(WSAAPI* ask)(SOCKET, sockaddr*, int*)) noexcept {
    sockaddr_in address{};
    int length = sizeof address;
    if (ask(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0 ||
        length != sizeof address || address.sin_family != AF_INET)
        return std::nullopt;
    return End{address.sin_addr.s_addr, address.sin_port};
}

/// The table as it was fetched, in a block whose size is known.
class CTcpTable {
public:
    explicit CTcpTable(TcpTableReader reader) noexcept {
        ULONG size = 0;
        ULONG status = 0;
        // The table may have grown between two calls; each call says what it would have needed.
        while ((status = reader(static_cast<MIB_TCPTABLE2*>(m_block.Get()), &size, TRUE)) ==
               ERROR_INSUFFICIENT_BUFFER) {
            m_block.Reset();
            m_block.Reset(GlobalAlloc(GMEM_FIXED, size));
            m_size = size;
            if (!m_block)
                return;
        }
        m_fetched = status == NO_ERROR && m_block && m_size >= kHead;
    }

    DWORD RowCount() const noexcept { return m_fetched ? Table()->dwNumEntries : 0; }

    /// Row gives null for a row that is counted but lies beyond the block.
    const MIB_TCPROW2* Row(DWORD index) const noexcept {
        return index < (m_size - kHead) / sizeof(MIB_TCPROW2) ? &Table()->table[index] : nullptr;
    }

private:
    static constexpr std::size_t kHead = offsetof(MIB_TCPTABLE2, table);

    const MIB_TCPTABLE2* Table() const noexcept {
        return static_cast<const MIB_TCPTABLE2*>(m_block.Get());
    }

    CTableBlock m_block;
    std::size_t m_size = 0;
    bool m_fetched = false;
};

/// Ports fill the low half of their field; what stands in the high half means nothing.
std::uint16_t Port(DWORD field) noexcept {
    return static_cast<std::uint16_t>(field);
}

}  // namespace

std::uint32_t GetClientProcessId(SocketHandle socket, TcpTableReader reader) noexcept {
    const std::optional<End> own = Asked(socket, &getsockname);
    const std::optional<End> peer = Asked(socket, &getpeername);
    if (!own || !peer)
        return 0;
    const CTcpTable table(reader);
    // The sorted table begins with a listener; every product of the suite starts at the next row.
    for (DWORD i = 1; i < table.RowCount(); ++i) {
        const MIB_TCPROW2* row = table.Row(i);
        if (!row) {
            TraceString("Empty row in TCP Table");
            continue;
        }
        if (row->dwState == MIB_TCP_STATE_ESTAB &&
            End{row->dwLocalAddr, Port(row->dwLocalPort)} == *peer &&
            End{row->dwRemoteAddr, Port(row->dwRemotePort)} == *own)
            return row->dwOwningPid;
    }
    return 0;
}

std::uint32_t GetClientSessionId(SocketHandle socket) noexcept {
    DWORD session = 0;
    return ProcessIdToSessionId(GetClientProcessId(socket), &session) ? session : 0;
}

std::uint32_t GetCurrentSessionId() noexcept {
    DWORD session = 0;
    return ProcessIdToSessionId(GetCurrentProcessId(), &session) ? session : 0;
}

}  // namespace tarnwell
