#include "common/system/net/connection_owner_win32.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/peer_process_win32.h"
#include "support/trace_listener.h"

namespace tarnwell {
namespace {

/// What the stand-in for the system's table answers.
struct FakeTable {
    std::vector<MIB_TCPROW2> rows;
    DWORD rowCount = 0;  // as the head says; the block may hold fewer
    ULONG growths = 0;   // how often the table turns out larger than it just was
    ULONG status = NO_ERROR;
} s_fake;

ULONG WINAPI ReadFake(MIB_TCPTABLE2* table, ULONG* size, BOOL sorted) {
    EXPECT_TRUE(sorted);
    const ULONG needed = static_cast<ULONG>(offsetof(MIB_TCPTABLE2, table) +
                                            s_fake.rows.size() * sizeof(MIB_TCPROW2));
    if (s_fake.status != NO_ERROR)
        return s_fake.status;
    if (!table || *size < needed || s_fake.growths > 0) {
        *size = needed - (s_fake.growths > 0 ? 4 * s_fake.growths-- : 0);
        return ERROR_INSUFFICIENT_BUFFER;
    }
    table->dwNumEntries = s_fake.rowCount;
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
        s_fake = {};
        m_listener.Reset(ListenOnLoopback(m_port));
    }

    void Connect() {
        m_client.Reset(OpenSocket());
        ASSERT_TRUE(ConnectSocket(m_client.Get(), {htonl(INADDR_LOOPBACK), m_port}));
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

    DWORD Ask() const { return GetClientProcessId(m_server.Get(), &ReadFake); }

    std::uint16_t m_port = 0;
    CUniqueSocket m_listener;
    CUniqueSocket m_server;
    CUniqueSocket m_client;
};

TEST_F(ConnectionOwner, IsTheFirstFullMatchFromTheSecondRowOn) {
    Connect();
    const MIB_TCPROW2 match = Row(7);
    const auto with = [&](auto change) {
        MIB_TCPROW2 row = Row(5);
        change(row);
        return row;
    };
    const MIB_TCPROW2 almost[] = {
        with([](MIB_TCPROW2& row) { row.dwState = MIB_TCP_STATE_TIME_WAIT; }),
        with([](MIB_TCPROW2& row) { row.dwLocalAddr ^= 1u << 24; }),
        with([](MIB_TCPROW2& row) { row.dwLocalPort ^= 1; }),
        with([](MIB_TCPROW2& row) { row.dwRemoteAddr ^= 1u << 24; }),
        with([](MIB_TCPROW2& row) { row.dwRemotePort ^= 1; }),
    };
    const struct {
        std::vector<MIB_TCPROW2> rows;
        DWORD owner;
    } cases[] = {
        {{}, 0},
        {{match}, 0},             // a single row is the first one
        {{match, almost[0]}, 0},  // the first row is never examined
        {{almost[0], match}, 7},
        {{match, almost[0], almost[1], almost[2], almost[3], almost[4], Row(9), match}, 9},
        {{almost[0], almost[0], almost[1], almost[2], almost[3], almost[4]}, 0},
    };
    for (const auto& [rows, owner] : cases) {
        s_fake = {rows, static_cast<DWORD>(rows.size()), /*growths=*/3};
        EXPECT_EQ(Ask(), owner) << rows.size() << " rows";
    }
}

TEST_F(ConnectionOwner, ReadsNoRowBeyondTheBlockAndNoTableThatFailed) {
    Connect();
    const test::CTraceListener trace;
    s_fake = {{Row(7), Row(7)}, 5};
    s_fake.rows[1].dwState = MIB_TCP_STATE_LISTEN;
    EXPECT_EQ(Ask(), 0u);
    EXPECT_EQ(trace.Count("Empty row in TCP Table"), 3u);
    s_fake = {{Row(7), Row(7)}, 2, 0, ERROR_NOT_SUPPORTED};
    EXPECT_EQ(Ask(), 0u);
    EXPECT_EQ(GetClientProcessId(m_listener.Get(), &ReadFake), 0u) << "it has no peer";
    EXPECT_EQ(GetClientProcessId(kNoSocket, &ReadFake), 0u);
}

TEST_F(ConnectionOwner, IsTheProcessAtTheOtherEndOfARealConnection) {
    // Sorted by address, a listener on all of them takes the row that is never examined.
    const CUniqueSocket everywhere(OpenSocket());
    sockaddr_in any{};
    any.sin_family = AF_INET;
    ASSERT_EQ(bind(everywhere.Get(), reinterpret_cast<const sockaddr*>(&any), sizeof any), 0);
    ASSERT_EQ(listen(everywhere.Get(), 1), 0);

    test::CPeerProcess peer("connect " + std::to_string(m_port));
    const std::string process = peer.ReadLine();
    ASSERT_FALSE(process.empty());
    m_server.Reset(AcceptSocket(m_listener.Get()));
    EXPECT_EQ(std::to_string(GetClientProcessId(m_server.Get())), process);
    EXPECT_EQ(GetClientSessionId(m_server.Get()), GetCurrentSessionId());
    m_server.Reset();  // lets the peer end
}

}  // namespace
}  // namespace tarnwell
