#pragma once

// A connection that receives what the fuzzer made, in pieces of a size that it also chose.

#include <algorithm>
#include <cstring>
#include <string_view>

#include "common/system/net/http_connection.h"

namespace tarnwell {

class CFuzzConnection : public CHttpConnection {
public:
    /// `stream` outlives the connection; `piece` of 0 is 1.
    CFuzzConnection(std::string_view stream, std::size_t piece)
        : CHttpConnection(CUniqueSocket()),
          m_stream(stream),
          m_piece(std::max<std::size_t>(piece, 1)) {}

    int Receive(void* buffer, std::uint32_t capacity) override {
        const std::size_t taken = std::min({m_stream.size(), m_piece, std::size_t{capacity}});
        std::memcpy(buffer, m_stream.data(), taken);
        m_stream.remove_prefix(taken);
        return static_cast<int>(taken);
    }

private:
    std::string_view m_stream;
    std::size_t m_piece;
};

}  // namespace tarnwell
