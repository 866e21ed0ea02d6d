#pragma once

// One line of the trace file: UTC time, process, thread, depth and text in a buffer of fixed
// size, so that tracing takes no memory and no line outgrows one write. Pure.

#include <cstddef>
#include <cstdint>

namespace tarnwell::zellog {

/// The parts of a UTC time that a line shows.
struct TraceTime {
    unsigned year, month, day, hour, minute, second, millisecond;
};

enum class ETraceMark : char { kEnter = '>', kLeave = '<', kMessage = '.' };

class CTraceLine {
public:
    /// Builds "2026-01-02T03:04:05.678Z 1234 5678   > text": two blanks for each level of `depth`
    /// (at most 32 levels are shown). Line ends and other control characters of `text` become
    /// "\n", "\r", "\t" or "\x1F", so that a text cannot pretend to be a line of its own. Longer
    /// text is cut between characters and ends in "...".
    CTraceLine(const TraceTime& time, std::uint32_t process, std::uint32_t thread, unsigned depth,
               ETraceMark mark, const char* text) noexcept;

    /// The line with CR LF behind it, without a terminating zero.
    const char* Bytes() const noexcept { return m_bytes; }
    std::size_t Length() const noexcept { return m_length; }

    /// The most text, in bytes of the line, before it is cut.
    static constexpr std::size_t kMostText = 3000;

private:
    void AddText(const char* text) noexcept;

    char m_bytes[128 + kMostText + 8];
    std::size_t m_length = 0;
};

}  // namespace tarnwell::zellog
