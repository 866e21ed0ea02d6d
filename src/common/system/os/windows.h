#pragma once

// The one way to the Windows headers: sockets before windows.h, the macros set by the build.
// Only files that end in _win32 (and headers that only they include) may include this.

#ifndef _WIN32_WINNT
#error "The build sets _WIN32_WINNT; include this header through the project's own targets."
#endif

// clang-format off
#include <winsock2.h>
#include <windows.h>
// clang-format on

#include "common/system/text/string.h"

namespace tarnwell {

/// Wide is the Windows spelling of UTF-16 units; valid as long as the string is.
inline const wchar_t* Wide(const CUTF16String& text) noexcept {
    static_assert(sizeof(wchar_t) == sizeof(char16_t));
    return reinterpret_cast<const wchar_t*>(text.CStr());
}
inline const wchar_t* Wide(const char16_t* text) noexcept {
    return reinterpret_cast<const wchar_t*>(text);
}
inline const char16_t* Units(const wchar_t* text) noexcept {
    return reinterpret_cast<const char16_t*>(text);
}

}  // namespace tarnwell
