#include "trace_line.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace tarnwell::zellog {
namespace {

constexpr unsigned kMostLevels = 32;

/// Escape writes how a control character is shown and gives the number of bytes.
std::size_t Escape(unsigned char byte, char (&shown)[4]) noexcept {
    constexpr char kDigits[] = "0123456789ABCDEF";
    shown[0] = '\\';
    switch (byte) {
        case '\n':
            shown[1] = 'n';
            return 2;
        case '\r':
            shown[1] = 'r';
            return 2;
        case '\t':
            shown[1] = 't';
            return 2;
        default:
            shown[1] = 'x';
            shown[2] = kDigits[byte >> 4];
            shown[3] = kDigits[byte & 15];
            return 4;
    }
}

}  // namespace

CTraceLine::CTraceLine(const TraceTime& time, std::uint32_t process, std::uint32_t thread,
                       unsigned depth, ETraceMark mark, const char* text) noexcept {
    const int levels = static_cast<int>(std::min(depth, kMostLevels));
    const int length =
        std::snprintf(m_bytes, 128, "%04u-%02u-%02uT%02u:%02u:%02u.%03uZ %5u %5u %*s%c ", time.year,
                      time.month, time.day, time.hour, time.minute, time.second, time.millisecond,
                      static_cast<unsigned>(process), static_cast<unsigned>(thread), 2 * levels, "",
                      static_cast<char>(mark));
    m_length = static_cast<std::size_t>(std::clamp(length, 0, 127));
    AddText(text ? text : "(null)");
    m_bytes[m_length++] = '\r';
    m_bytes[m_length++] = '\n';
}

void CTraceLine::AddText(const char* text) noexcept {
    const std::size_t start = m_length;
    for (; *text; ++text) {
        const auto byte = static_cast<unsigned char>(*text);
        char shown[4] = {*text};
        const std::size_t needed = byte < 0x20 || byte == 0x7F ? Escape(byte, shown) : 1;
        if (m_length - start + needed > kMostText) {
            // Cut before the character that is not whole: back over its UTF-8 continuation.
            if ((byte & 0xC0) == 0x80) {
                while (m_length > start && (m_bytes[m_length - 1] & 0xC0) == 0x80)
                    --m_length;
                m_length -= m_length > start ? 1 : 0;
            }
            std::memcpy(m_bytes + m_length, "...", 3);
            m_length += 3;
            return;
        }
        std::memcpy(m_bytes + m_length, shown, needed);
        m_length += needed;
    }
}

}  // namespace tarnwell::zellog
