#pragma once

// Collects the head of a request (its line and header fields) from a socket piece by piece, and
// knows when it is complete or too large. Pure; belongs to one connection.

#include <cstddef>
#include <string>
#include <string_view>

namespace tarnwell::manager {

class CHeadReader {
public:
    enum class State { kReading, kComplete, kTooLarge };

    /// Five thousand paths of 260 units, each unit three bytes and each byte escaped ("%E4%B8%AD"),
    /// are 12 MB: a selection as large as that must come through, anything larger is hostile.
    static constexpr std::size_t kMaxHead = std::size_t{16} << 20;

    explicit CHeadReader(std::size_t limit = kMaxHead) : m_limit(limit) {}

    /// Feed takes the next bytes. Once it has said Complete or TooLarge, it takes no more.
    State Feed(std::string_view bytes);

    /// Head is everything up to the empty line, the last field's line end included.
    std::string_view Head() const { return std::string_view(m_bytes).substr(0, m_end); }

    bool IsEmpty() const { return m_bytes.empty(); }

private:
    std::size_t m_limit;
    std::string m_bytes;
    std::size_t m_scanned = 0;
    std::size_t m_end = 0;
    State m_state = State::kReading;
};

}  // namespace tarnwell::manager
