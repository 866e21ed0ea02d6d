#include "manager/core/log.h"

#include <algorithm>
#include <array>
#include <chrono>

#include "common/system/text/convert.h"

namespace tarnwell::manager {

void CLog::Line(std::string_view text) const {
    m_sink(LogLine(std::time(nullptr), m_process, text));
}

std::string LogLine(std::time_t time, std::uint32_t process, std::string_view text) {
    using namespace std::chrono;
    const auto now = sys_seconds(seconds(time));
    const auto day = floor<days>(now);
    const year_month_day date(day);
    const hh_mm_ss clock(now - day);
    std::array<char, 64> head{};
    (void)std::snprintf(head.data(), head.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ [%u] ",
                        static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                        static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                        static_cast<int>(clock.minutes().count()),
                        static_cast<int>(clock.seconds().count()), process);
    std::string line = head.data();
    const std::size_t start = line.size();
    line.append(text);
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    std::replace_if(line.begin() + static_cast<std::ptrdiff_t>(start), line.end(), isControl, '?');
    return line + "\r\n";
}

std::string Utf8(std::u16string_view text) {
    return std::string(Utf8FromUtf16(text).AsView());
}

}  // namespace tarnwell::manager
