#pragma once

// Finding the end of a multipart part in a stream that can be read only once (RFC 2046, section
// 5.1.1). Pure; any thread may call.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwell {

/// Watches a stream, byte by byte, for a delimiter, and gives back what is certainly not part of
/// it. Each byte costs amortised constant time whatever the delimiter, which the peer chooses.
class CDelimiterScanner {
public:
    /// The delimiter of `boundary`: "--" before it, and CR LF before that unless `firstPart`.
    static std::string DelimiterOf(std::string_view boundary, bool firstPart);

    /// `delimiter` holds at least one byte.
    explicit CDelimiterScanner(std::string delimiter);

    /// Take takes the next byte of the stream, appends to `output` what can no longer be part of
    /// the delimiter, and returns true when the delimiter is complete; the scanner is then done.
    bool Take(std::uint8_t byte, std::vector<std::uint8_t>& output);

private:
    std::string m_delimiter;
    /// For each prefix of the delimiter, the length of its longest border (Knuth, Morris, Pratt).
    std::vector<std::size_t> m_borders;
    std::size_t m_matched = 0;
};

}  // namespace tarnwell
