#include "support/trace_listener.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <utility>

namespace tarnwell::test {
namespace {

constexpr const char* kEnter = "enter ";
constexpr const char* kLeave = "leave ";

CTraceListener* s_listener = nullptr;

std::string Filled(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    std::string text(static_cast<std::size_t>(std::vsnprintf(nullptr, 0, format, again)), '\0');
    va_end(again);
    (void)std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

}  // namespace

CTraceListener::CTraceListener() {
    static const TraceLibrary library{&CTraceListener::Enter, &CTraceListener::Leave,
                                      &CTraceListener::Message, nullptr, nullptr};
    s_listener = this;
    m_replaced = ReplaceTraceLibrary(&library);
}

CTraceListener::~CTraceListener() {
    ReplaceTraceLibrary(m_replaced);
    s_listener = nullptr;
}

std::vector<std::string> CTraceListener::Lines() const {
    const std::lock_guard lock(m_mutex);
    return m_lines;
}

std::vector<std::string> CTraceListener::Messages() const {
    std::vector<std::string> lines = Lines();
    std::erase_if(lines, [](const std::string& line) {
        return line.starts_with(kEnter) || line.starts_with(kLeave);
    });
    return lines;
}

std::size_t CTraceListener::Count(const std::string& line) const {
    const std::lock_guard lock(m_mutex);
    return static_cast<std::size_t>(std::count(m_lines.begin(), m_lines.end(), line));
}

void CTraceListener::Clear() {
    const std::lock_guard lock(m_mutex);
    m_lines.clear();
}

// The library's functions are variadic.
// NOLINTBEGIN(cert-dcl50-cpp)
void CTraceListener::Enter(const char* name, ...) {
    s_listener->Add(kEnter + std::string(name));
}

void CTraceListener::Leave(const char* name, ...) {
    s_listener->Add(kLeave + std::string(name));
}

void CTraceListener::Message(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    s_listener->Add(Filled(format, arguments));
    va_end(arguments);
}

// NOLINTEND(cert-dcl50-cpp)

void CTraceListener::Add(std::string line) {
    const std::lock_guard lock(m_mutex);
    m_lines.push_back(std::move(line));
}

}  // namespace tarnwell::test
