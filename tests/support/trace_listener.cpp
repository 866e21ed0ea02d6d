#include "support/trace_listener.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace tarnwell::test {
namespace {

CTraceListener* s_listener = nullptr;

const char* Numbered(const char* kind, unsigned long code) {
    thread_local char text[64];
    (void)std::snprintf(text, sizeof(text), "%s error %lu", kind, code);
    return text;
}
const char* Win32Text(std::uint32_t code) {
    return Numbered("Win32", code);
}
const char* CkText(unsigned long code) {
    return Numbered("CK", code);
}

std::string Filled(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0)
        return std::string("(bad format) ") + format;
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    (void)std::vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

}  // namespace

CTraceListener::CTraceListener() {
    static const TraceLibrary library{&CTraceListener::Enter, &CTraceListener::Leave,
                                      &CTraceListener::Message, &Win32Text, &CkText};
    if (s_listener)
        throw std::logic_error("another CTraceListener is alive");
    s_listener = this;
    m_replaced = ReplaceTraceLibrary(&library);
}

CTraceListener::~CTraceListener() {
    ReplaceTraceLibrary(m_replaced);
    s_listener = nullptr;
}

std::vector<std::string> CTraceListener::Lines() const {
    const std::lock_guard lock(m_mutex);
    std::vector<std::string> lines;
    for (const Entry& entry : m_entries)
        lines.push_back(entry.line);
    return lines;
}

std::vector<std::string> CTraceListener::Messages() const {
    const std::lock_guard lock(m_mutex);
    std::vector<std::string> lines;
    for (const Entry& entry : m_entries)
        if (entry.kind == EKind::kMessage)
            lines.push_back(entry.line);
    return lines;
}

std::size_t CTraceListener::Count(const std::string& line) const {
    const std::lock_guard lock(m_mutex);
    return static_cast<std::size_t>(
        std::count_if(m_entries.begin(), m_entries.end(),
                      [&](const Entry& entry) { return entry.line == line; }));
}

void CTraceListener::Clear() {
    const std::lock_guard lock(m_mutex);
    m_entries.clear();
}

// The library's functions are variadic.
// NOLINTBEGIN(cert-dcl50-cpp)
void CTraceListener::Enter(const char* name, ...) {
    s_listener->Add(EKind::kScope, std::string("enter ") + name);
}

void CTraceListener::Leave(const char* name, ...) {
    s_listener->Add(EKind::kScope, std::string("leave ") + name);
}

void CTraceListener::Message(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string text = Filled(format, arguments);
    va_end(arguments);
    s_listener->Add(EKind::kMessage, std::move(text));
}

// NOLINTEND(cert-dcl50-cpp)

void CTraceListener::Add(EKind kind, std::string line) {
    const std::lock_guard lock(m_mutex);
    m_entries.push_back({kind, std::move(line)});
}

}  // namespace tarnwell::test
