#pragma once

// A connection without a socket: it hands out prepared pieces, one a receive, and keeps what is
// sent. Stands for a peer whose every packet boundary the test chooses.

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "common/system/net/http_connection.h"

namespace tarnwell::test {

inline std::string Text(const CISOString& text) {
    return std::string(text.AsView());
}
inline std::string Text(const ByteArray& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

/// What a call throws: its message, or "nothing thrown".
template <class Call>
std::string MessageOf(Call call) {
    try {
        call();
    } catch (const CHttpException& error) {
        return Text(error.Message());
    }
    return "nothing thrown";
}

/// What the connection has seen; outlives it.
struct Wire {
    std::string sent;
    std::vector<std::uint32_t> receiveSizes;
    bool destroyed = false;
    std::string connectedTo;
};

class CScriptedConnection : public CHttpConnection {
public:
    CScriptedConnection(Wire& wire, std::deque<std::string> pieces)
        : CHttpConnection(CUniqueSocket()), m_wire(wire), m_pieces(std::move(pieces)) {}
    ~CScriptedConnection() override { m_wire.destroyed = true; }

    int Send(const void* bytes, std::uint32_t length) override {
        if (m_sendLeft == 0) {
            SetLastSocketError(m_failure);
            return m_failure ? -1 : 0;
        }
        const std::uint32_t taken = std::min({length, m_sendPiece, m_sendLeft});
        m_sendLeft -= taken;
        m_wire.sent.append(static_cast<const char*>(bytes), taken);
        return static_cast<int>(taken);
    }

    int Receive(void* buffer, std::uint32_t capacity) override {
        m_wire.receiveSizes.push_back(capacity);
        if (m_pieces.empty()) {
            SetLastSocketError(m_failure);
            return m_failure ? -1 : 0;
        }
        const std::string& piece = m_pieces.front();
        const std::size_t taken = std::min<std::size_t>(capacity, piece.size() - m_offset);
        std::memcpy(buffer, piece.data() + m_offset, taken);
        m_offset += taken;
        if (m_offset == piece.size()) {
            m_pieces.pop_front();
            m_offset = 0;
        }
        return static_cast<int>(taken);
    }

    void Connect(const CHttpUrl& url) override {
        if (!url.valid)
            throw CHttpException("Invalid URL format");
        m_wire.connectedTo = Text(url.host) + ":" + std::to_string(url.port);
    }

    /// Each send takes at most `bytes`.
    CScriptedConnection& SendsPieces(std::uint32_t bytes) {
        m_sendPiece = bytes;
        return *this;
    }
    /// Sending stops after `bytes`: with `error` (a Winsock code), or by taking nothing (0).
    CScriptedConnection& SendsOnly(std::uint32_t bytes, int error) {
        m_sendLeft = bytes;
        m_failure = error;
        return *this;
    }
    /// Receiving ends in `error` instead of the end of the stream.
    CScriptedConnection& EndsWith(int error) {
        m_failure = error;
        return *this;
    }

private:
    Wire& m_wire;
    std::deque<std::string> m_pieces;
    std::size_t m_offset = 0;  // into the first piece
    std::uint32_t m_sendPiece = ~0U;
    std::uint32_t m_sendLeft = ~0U;
    int m_failure = 0;
};

/// `text` cut into single bytes.
inline std::deque<std::string> Dripped(const std::string& text) {
    std::deque<std::string> pieces;
    for (const char byte : text)
        pieces.emplace_back(1, byte);
    return pieces;
}

}  // namespace tarnwell::test
