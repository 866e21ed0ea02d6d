#pragma once

// A connection without a socket, and the wire behind it: what the peer sends and takes, in pieces
// of the test's choice, and what it has got.

#include <algorithm>
#include <memory>
#include <string>

#include "common/system/net/http_connection.h"

namespace tarnwell::test {

inline std::string Text(const ByteArray& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

/// What a call throws: its message, or "nothing thrown".
template <class Call>
std::string MessageOf(Call call) {
    try {
        call();
    } catch (const CHttpException& error) {
        return std::string(error.Message().AsView());
    }
    return "nothing thrown";
}

/// Outlives its connection.
struct Wire {
    std::string stream{};          // all that the peer sends
    std::size_t piece = SIZE_MAX;  // a send or a receive moves at most so much; 0: sending fails
    int failure = 0;               // the Winsock code in which both directions end, 0 for none
    std::size_t received = 0;
    std::string sent{};
    bool destroyed = false;
};

class CScriptedConnection : public CHttpConnection {
public:
    explicit CScriptedConnection(Wire& wire) : CHttpConnection(CUniqueSocket()), m_wire(wire) {}
    ~CScriptedConnection() override { m_wire.destroyed = true; }

    void Connect(const CHttpUrl&) override {}
    int Send(const void* bytes, std::uint32_t length) override {
        const auto count = std::min(std::size_t{length}, m_wire.piece);
        m_wire.sent.append(static_cast<const char*>(bytes), count);
        return Moved(count);
    }
    int Receive(void* buffer, std::uint32_t capacity) override {
        const auto most = std::min(std::size_t{capacity}, m_wire.piece);
        const auto count = m_wire.stream.copy(static_cast<char*>(buffer), most, m_wire.received);
        m_wire.received += count;
        return Moved(count);
    }

private:
    int Moved(std::size_t count) const {
        SetLastSocketError(m_wire.failure);
        return count == 0 && m_wire.failure != 0 ? -1 : static_cast<int>(count);
    }

    Wire& m_wire;
};

}  // namespace tarnwell::test
