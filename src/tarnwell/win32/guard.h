#pragma once

// The boundary between this program's exceptions and COM: every interface method is noexcept and
// its body one call of Guard. Any thread may call.

#include <utility>

#include "common/system/os/windows.h"
#include "common/system/trace/trace.h"

namespace tarnwell {

/// CurrentExceptionResult reports the exception being handled to the trace and names it as an
/// HRESULT: E_OUTOFMEMORY for std::bad_alloc, E_FAIL for anything else. For catch blocks only.
HRESULT CurrentExceptionResult() noexcept;

/// GuardUntraced returns what `body` returns, or CurrentExceptionResult of what it throws. For
/// methods whose calls the trace does not list.
template <class Body>
HRESULT GuardUntraced(Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        return CurrentExceptionResult();
    }
}

/// Guard does the same and brackets the call in the trace as `name`, "Class::Method".
template <class Body>
HRESULT Guard(const char* name, Body&& body) noexcept {
    const CTraceScope scope(name);
    return GuardUntraced(std::forward<Body>(body));
}

}  // namespace tarnwell
