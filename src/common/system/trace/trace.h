#pragma once

// The client side of the trace library: every notable function reports its entry, its exit and
// its messages here. The library (zelLog.dll) is optional; it is bound by name on first use from
// the module's own folder, and where it is missing every call is a no-op. Any thread may call.

#include <cstdint>
#include <type_traits>

namespace tarnwell {

/// The library's entry points, all taking 8-bit text (UTF-8). A null entry is never called.
struct TraceLibrary {
    void (*traceEnter)(const char* name, ...) = nullptr;
    void (*traceLeave)(const char* name, ...) = nullptr;
    void (*traceString)(const char* format, ...) = nullptr;
    const char* (*getWin32ErrorString)(std::uint32_t code) = nullptr;
    const char* (*getCkErrorString)(unsigned long code) = nullptr;
};

/// ReplaceTraceLibrary puts `library` (not owned; null: the system's own again) in place of the
/// bound one and returns what it replaced. For tests that listen; not synchronised with callers.
const TraceLibrary* ReplaceTraceLibrary(const TraceLibrary* library) noexcept;

/// FindTraceLibrary gives the entries to call just now, null where there are none.
const TraceLibrary* FindTraceLibrary() noexcept;

/// OpenTrace says that the module is attached, so that a call may load the library from now on.
/// A DLL calls it as the last act of its attach notification; in a program it is open from the
/// start. Until then messages wait (the first eight, cut to 255 bytes) and all else is silent.
void OpenTrace() noexcept;

/// CloseTrace says that the module is being detached: no call reaches the library any more.
void CloseTrace() noexcept;

/// TraceString reports a message as it stands: "%" has no meaning in it.
void TraceString(const char* message) noexcept;

/// TraceString reports `format` with its single "%s" filled by `argument`.
void TraceString(const char* format, const char* argument) noexcept;

/// GetWin32ErrorString gives the library's text for a Win32 error code, "" without a library.
/// The text is the library's: valid until the same thread asks for the next one.
const char* GetWin32ErrorString(std::uint32_t code) noexcept;

/// GetCkErrorString gives the library's text for a PKCS#11 return value, "" without a library.
const char* GetCkErrorString(unsigned long code) noexcept;

/// What can follow a traced function's name: numbers, flags and pointers.
template <class T>
concept TraceArgument = std::is_scalar_v<T> && !std::is_member_pointer_v<T>;

/// Brackets a traced function: reports its entry, and its exit on every way out.
class CTraceScope {
public:
    /// `name` is the function as "Class::Method"; it must outlive the scope (a literal does) and
    /// hold no "%". `arguments` are handed over behind it on entry, for libraries that know the
    /// function; ours, to which they are bytes without a type, leaves them unread.
    template <TraceArgument... Arguments>
    explicit CTraceScope(const char* name, Arguments... arguments) noexcept : m_name(name) {
        const TraceLibrary* library = FindTraceLibrary();
        if (library && library->traceEnter)
            library->traceEnter(m_name, arguments...);
    }
    ~CTraceScope();
    CTraceScope(const CTraceScope&) = delete;
    CTraceScope& operator=(const CTraceScope&) = delete;

private:
    const char* m_name;
};

}  // namespace tarnwell
