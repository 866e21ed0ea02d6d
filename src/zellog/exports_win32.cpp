// The five functions that programs bind by name. They are called from anywhere, also between a
// failed system call and the reading of its error, so each leaves the thread's last error alone.
// While there is no trace file a call is a read of one variable.

#include <windows.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cwctype>
#include <iterator>

#include "ck_errors.h"
#include "keep_last_error.h"
#include "trace_file.h"
#include "trace_format.h"

using namespace tarnwell::zellog;

namespace {

thread_local unsigned t_depth = 0;
thread_local char t_win32Text[2048];
thread_local char t_ckText[64];

}  // namespace

// NOLINTBEGIN(cert-dcl50-cpp): the interface is variadic.

// The name is text, not a format; arguments behind it have no types here and are not read.
extern "C" void TraceEnter(const char* name, ...) {
    if (!TraceIsOn())
        return;
    const CKeepLastError keep;  // looking up a thread's own variable clears it, too
    WriteTrace(t_depth++, ETraceMark::kEnter, name);
}

extern "C" void TraceLeave(const char* name, ...) {
    if (!TraceIsOn())
        return;
    const CKeepLastError keep;
    if (t_depth > 0)
        --t_depth;
    WriteTrace(t_depth, ETraceMark::kLeave, name);
}

extern "C" void TraceString(const char* format, ...) {
    if (!TraceIsOn())
        return;
    const CKeepLastError keep;
    char text[kTraceTextSize] = "(null)";
    std::va_list arguments;
    va_start(arguments, format);
    if (format)
        FormatTrace(text, format, arguments);
    va_end(arguments);
    WriteTrace(t_depth, ETraceMark::kMessage, text);
}

// NOLINTEND(cert-dcl50-cpp)

/// The system's text for a Win32 error code in UTF-8, without white space behind it. It belongs
/// to the calling thread and holds until that thread asks for the next one.
extern "C" const char* GetWin32ErrorString(std::uint32_t code) {
    const CKeepLastError keep;
    wchar_t text[512];
    DWORD length =
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                       text, static_cast<DWORD>(std::size(text)), nullptr);
    while (length > 0 && std::iswspace(text[length - 1]))
        --length;
    const int bytes =
        length == 0 ? 0
                    : WideCharToMultiByte(CP_UTF8, 0, text, static_cast<int>(length), t_win32Text,
                                          sizeof(t_win32Text) - 1, nullptr, nullptr);
    if (bytes > 0)
        t_win32Text[bytes] = '\0';
    else
        (void)std::snprintf(t_win32Text, sizeof(t_win32Text), "Win32 error %u (0x%X)",
                            static_cast<unsigned>(code), static_cast<unsigned>(code));
    return t_win32Text;
}

/// The name of a PKCS#11 return value; holds as GetWin32ErrorString's does.
extern "C" const char* GetCkErrorString(unsigned long code) {
    if (const char* name = CkErrorName(code))
        return name;
    const CKeepLastError keep;
    (void)std::snprintf(t_ckText, sizeof(t_ckText), "%s0x%08lX",
                        code >= 0x80000000UL ? "CKR_VENDOR_DEFINED " : "CKR ", code);
    return t_ckText;
}
