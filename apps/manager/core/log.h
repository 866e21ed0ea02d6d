#pragma once

// The manager's diary: one line a step, so that a person who wonders what happened to a file finds
// it there. Where the lines go is the caller's business. Belongs to one thread.

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <string_view>

namespace tarnwell::manager {

class CLog {
public:
    /// Takes a whole line, its line end included, as UTF-8.
    using Sink = std::function<void(std::string_view line)>;

    /// `process` tells the lines of managers apart that run at the same time.
    CLog(std::uint32_t process, Sink sink) : m_process(process), m_sink(std::move(sink)) {}

    /// Line writes `text` behind the time and the process.
    void Line(std::string_view text) const;

private:
    std::uint32_t m_process;
    Sink m_sink;
};

/// LogLine is the line that CLog writes: time in UTC (ISO 8601), process, text, CR LF. Control
/// characters in the text, which a hostile request may hold, become "?": a line stays a line.
std::string LogLine(std::time_t time, std::uint32_t process, std::string_view text);

/// Utf8 writes a path for the log.
std::string Utf8(std::u16string_view text);

}  // namespace tarnwell::manager
