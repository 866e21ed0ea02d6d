#pragma once

// Formats of the trace's callers, made harmless before they are filled: whatever a program hands
// over, formatting takes a bounded time and writes nowhere but into the line. Pure.

#include <cstdarg>
#include <cstddef>

#include "trace_line.h"

namespace tarnwell::zellog {

/// A little more than a line keeps, so that a cut is seen.
inline constexpr std::size_t kTraceTextSize = CTraceLine::kMostText + 16;

/// BoundFormat copies the printf format `format` into `bounded` (`size` bytes) with every width
/// and precision held to the size of a trace text, and such a precision for each string without
/// one. False for what cannot be bounded or is no format: "%n", a "*", an unknown conversion, an
/// end inside one, or a format for which `size` is too small.
bool BoundFormat(const char* format, char* bounded, std::size_t size) noexcept;

/// FormatTrace fills `format` from `arguments` into `text`, cut to its size. A format that
/// BoundFormat refuses is shown as it stands, its arguments unread.
void FormatTrace(char (&text)[kTraceTextSize], const char* format, std::va_list arguments) noexcept;

}  // namespace tarnwell::zellog
