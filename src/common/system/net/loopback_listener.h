#pragma once

// Where the manager (and a test's peer) waits for a request: a listening socket on 127.0.0.1 and
// a port that the system picks. Nothing outside this machine can reach it. One thread at a time.

#include <chrono>
#include <cstdint>
#include <memory>

#include "common/system/net/http_connection.h"
#include "common/system/net/socket.h"

namespace tarnwell {

class CLoopbackListener {
public:
    /// Binds and listens. Throws CHttpException "Unable to listen: " and the socket error's text.
    CLoopbackListener();

    std::uint16_t Port() const noexcept { return m_port; }

    /// Accept waits at most `time` for a client and adopts its socket; null if none came.
    std::unique_ptr<CHttpConnection> Accept(std::chrono::milliseconds time);

private:
    CUniqueSocket m_socket;
    std::uint16_t m_port = 0;
};

}  // namespace tarnwell
