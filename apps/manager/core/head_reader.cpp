#include "manager/core/head_reader.h"

namespace tarnwell::manager {

CHeadReader::State CHeadReader::Feed(std::string_view bytes) {
    if (m_state != State::kReading)
        return m_state;
    m_bytes.append(bytes);
    // A line feed ends the head when an empty line follows it. Bare line feeds count here so that
    // a sloppy peer is told what is wrong at once instead of being waited for.
    for (;;) {
        const std::size_t feed = m_bytes.find('\n', m_scanned);
        if (feed == std::string_view::npos) {
            m_scanned = m_bytes.size();
            break;
        }
        const std::string_view rest = std::string_view(m_bytes).substr(feed + 1);
        if (rest.starts_with("\n") || rest.starts_with("\r\n")) {
            m_end = feed + 1;
            m_state = State::kComplete;
            break;
        }
        if (rest.empty() || rest == "\r") {
            m_scanned = feed;
            break;
        }
        m_scanned = feed + 1;
    }
    const std::size_t size = m_state == State::kComplete ? m_end : m_bytes.size();
    if (size > m_limit)
        m_state = State::kTooLarge;
    return m_state;
}

}  // namespace tarnwell::manager
