#pragma once

// Callers trace before they read a failed call's error, so tracing leaves it as it was.

#include <windows.h>

namespace tarnwell::zellog {

class CKeepLastError {
public:
    CKeepLastError() noexcept : m_error(GetLastError()) {}
    ~CKeepLastError() { SetLastError(m_error); }
    CKeepLastError(const CKeepLastError&) = delete;
    CKeepLastError& operator=(const CKeepLastError&) = delete;

private:
    DWORD m_error;
};

}  // namespace tarnwell::zellog
