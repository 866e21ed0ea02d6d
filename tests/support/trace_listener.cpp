#include "support/trace_listener.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace tarnwell::test {
namespace {

constexpr const char* kEnter = "enter ";
constexpr const char* kLeave = "leave ";

std::mutex s_mutex;
std::vector<std::string> s_lines;

void Add(const std::string& line) {
    const std::lock_guard lock(s_mutex);
    s_lines.push_back(line);
}

// The library's functions are variadic.
// NOLINTBEGIN(cert-dcl50-cpp)
void Enter(const char* name, ...) {
    Add(std::string(kEnter) + name);
}

void Leave(const char* name, ...) {
    Add(std::string(kLeave) + name);
}

void Message(const char* format, ...) {
    char text[1001];
    std::va_list arguments;
    va_start(arguments, format);
    (void)std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    Add(text);
}
// NOLINTEND(cert-dcl50-cpp)

constexpr TraceLibrary kListening{&Enter, &Leave, &Message, nullptr, nullptr};

}  // namespace

CTraceListener::CTraceListener() : m_replaced(ReplaceTraceLibrary(&kListening)) {
    Clear();
}

CTraceListener::~CTraceListener() {
    ReplaceTraceLibrary(m_replaced);
}

std::vector<std::string> CTraceListener::Lines() const {
    const std::lock_guard lock(s_mutex);
    return s_lines;
}

std::vector<std::string> CTraceListener::Messages() const {
    std::vector<std::string> lines = Lines();
    std::erase_if(lines, [](const std::string& line) {
        return line.starts_with(kEnter) || line.starts_with(kLeave);
    });
    return lines;
}

std::size_t CTraceListener::Count(const std::string& line) const {
    const std::vector<std::string> lines = Lines();
    return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), line));
}

void CTraceListener::Clear() {
    const std::lock_guard lock(s_mutex);
    s_lines.clear();
}

}  // namespace tarnwell::test
