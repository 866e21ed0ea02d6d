#include "common/system/net/multipart.h"

#include <utility>

namespace tarnwell {

std::string CDelimiterScanner::DelimiterOf(std::string_view boundary, bool firstPart) {
    return std::string(firstPart ? "--" : "\r\n--").append(boundary);
}

CDelimiterScanner::CDelimiterScanner(std::string delimiter)
    : m_delimiter(std::move(delimiter)), m_borders(m_delimiter.size()) {
    std::size_t border = 0;
    for (std::size_t i = 1; i < m_delimiter.size(); ++i) {
        while (border > 0 && m_delimiter[border] != m_delimiter[i])
            border = m_borders[border - 1];
        if (m_delimiter[border] == m_delimiter[i])
            ++border;
        m_borders[i] = border;
    }
}

bool CDelimiterScanner::Take(std::uint8_t byte, std::vector<std::uint8_t>& output) {
    // A match that breaks gives up its oldest bytes and goes on with the longest tail that is
    // still a beginning of the delimiter.
    while (m_matched > 0 && static_cast<std::uint8_t>(m_delimiter[m_matched]) != byte) {
        const std::size_t kept = m_borders[m_matched - 1];
        output.insert(output.end(), m_delimiter.begin(),
                      m_delimiter.begin() + static_cast<std::ptrdiff_t>(m_matched - kept));
        m_matched = kept;
    }
    if (static_cast<std::uint8_t>(m_delimiter[m_matched]) == byte)
        ++m_matched;
    else
        output.push_back(byte);
    return m_matched == m_delimiter.size();
}

}  // namespace tarnwell
