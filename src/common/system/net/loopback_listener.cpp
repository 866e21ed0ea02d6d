#include "common/system/net/loopback_listener.h"

#include "common/system/net/socket_error_text.h"

namespace tarnwell {

CLoopbackListener::CLoopbackListener() {
    StartSockets();
    m_socket.Reset(ListenOnLoopback(m_port));
    if (!m_socket)
        throw CHttpException(CISOString("Unable to listen: ") + SocketErrorText(LastSocketError()));
}

std::unique_ptr<CHttpConnection> CLoopbackListener::Accept(std::chrono::milliseconds time) {
    if (!WaitReadable(m_socket.Get(), time))
        return nullptr;
    CUniqueSocket accepted(AcceptSocket(m_socket.Get()));
    return accepted ? std::make_unique<CHttpConnection>(std::move(accepted)) : nullptr;
}

}  // namespace tarnwell
