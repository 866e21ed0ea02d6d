#include "common/system/net/connection_owner_win32.h"

#include <gtest/gtest.h>

#include <cstring>
#include <utility>
#include <vector>

#include "support/trace_listener.h"

namespace tarnwell {
namespace {

/// What the stand-in for the system's table answers.
struct FakeTable {
    std::vector<MIB_TCPROW2> rows;
    DWORD missing = 0;  // rows that the head counts and the block does not hold
    ULONG growths = 0;  // how often the table turns out larger than it just was
    ULONG status = NO_ERROR;
} s_fake;

ULONG WINAPI ReadFake(MIB_TCPTABLE2* table, ULONG* size, BOOL sorted) {
    EXPECT_TRUE(sorted);
    const ULONG needed = static_cast<ULONG>(offsetof(MIB_TCPTABLE2, table) +
                                            s_fake.rows.size() * sizeof(MIB_TCPROW2));
    if (s_fake.status != NO_ERROR)
        return s_fake.status;
    if (*size < needed || s_fake.growths > 0) {
        *size = needed - (s_fake.growths > 0 ? 4 * s_fake.growths-- : 0);
        return ERROR_INSUFFICIENT_BUFFER;
    }
    table->dwNumEntries = static_cast<DWORD>(s_fake.rows.size()) + s_fake.missing;
    std::memcpy(table->table, s_fake.rows.data(), s_fake.rows.size() * sizeof(MIB_TCPROW2));
    return NO_ERROR;
}

sockaddr_in NameOf(SocketHandle socket, int(WSAAPI* ask)(SOCKET, sockaddr*, int*)) {
    sockaddr_in name{};
    int length = sizeof name;
    EXPECT_EQ(ask(socket, reinterpret_cast<sockaddr*>(&name), &length), 0);
    return name;
}

/// A server's end and a client's, connected over the loopback address.
class ConnectionOwner : public testing::Test {
protected:
    ConnectionOwner() {
        StartSockets();
        std::uint16_t port = 0;
        m_listener.Reset(ListenOnLoopback(port));
        m_client.Reset(OpenSocket());
        EXPECT_TRUE(ConnectSocket(m_client.Get(), {htonl(INADDR_LOOPBACK), port}));
        m_server.Reset(AcceptSocket(m_listener.Get()));
    }

    /// The client's row as the system would list it.
    MIB_TCPROW2 Row(DWORD process) const {
        const sockaddr_in own = NameOf(m_server.Get(), &getsockname);
        const sockaddr_in peer = NameOf(m_server.Get(), &getpeername);
        return {MIB_TCP_STATE_ESTAB,
                peer.sin_addr.s_addr,
                0xABCD0000u | peer.sin_port,
                own.sin_addr.s_addr,
                own.sin_port,
                process,
                TcpConnectionOffloadStateInHost};
    }

    DWORD OwnerIn(FakeTable table) const {
        s_fake = std::move(table);
        return GetClientProcessId(m_server.Get(), &ReadFake);
    }

    CUniqueSocket m_listener;
    CUniqueSocket m_client;
    CUniqueSocket m_server;
};

TEST_F(ConnectionOwner, IsTheFirstFullMatchFromTheSecondRowOn) {
    const MIB_TCPROW2 match = Row(7);
    std::vector<MIB_TCPROW2> rows = {match};  // the first row is never examined
    for (DWORD MIB_TCPROW2::*field :
         {&MIB_TCPROW2::dwLocalAddr, &MIB_TCPROW2::dwLocalPort, &MIB_TCPROW2::dwRemoteAddr,
          &MIB_TCPROW2::dwRemotePort, &MIB_TCPROW2::dwState}) {
        rows.push_back(match);
        rows.back().*field ^= 1;
        EXPECT_EQ(OwnerIn({rows}), 0u) << rows.size();
    }
    rows.push_back(Row(9));
    rows.push_back(match);
    EXPECT_EQ(OwnerIn({.rows = rows, .growths = 3}), 9u);
    EXPECT_EQ(OwnerIn({}), 0u);
}

TEST_F(ConnectionOwner, ReadsNoRowBeyondTheBlockAndNoTableThatFailed) {
    const test::CTraceListener trace;
    EXPECT_EQ(OwnerIn({.rows = {Row(7)}, .missing = 3}), 0u);
    EXPECT_EQ(trace.Count("Empty row in TCP Table"), 3u);
    EXPECT_EQ(OwnerIn({.rows = {Row(7), Row(7)}, .status = ERROR_NOT_SUPPORTED}), 0u);
    EXPECT_EQ(GetClientProcessId(m_listener.Get(), &ReadFake), 0u) << "it has no peer";
    EXPECT_EQ(GetClientProcessId(kNoSocket, &ReadFake), 0u);
}

TEST_F(ConnectionOwner, IsFoundInTheSystemsTable) {
    // Sorted by address, a listener on all of them takes the row that is never examined.
    const CUniqueSocket everywhere(OpenSocket());
    sockaddr_in any{};
    any.sin_family = AF_INET;
    ASSERT_EQ(bind(everywhere.Get(), reinterpret_cast<const sockaddr*>(&any), sizeof any), 0);
    ASSERT_EQ(listen(everywhere.Get(), 1), 0);
    // Wine knows whose a socket is once it has moved something.
    EXPECT_EQ(SendSocket(m_client.Get(), "x", 1), 1);
    EXPECT_EQ(GetClientProcessId(m_server.Get()), GetCurrentProcessId());
    EXPECT_EQ(GetClientSessionId(m_server.Get()), GetCurrentSessionId());
}

}  // namespace
}  // namespace tarnwell
