#pragma once

// The seam between the trace client and the system: finding the trace library and its entries.
// Only trace.cpp calls it.

#include "common/system/trace/trace.h"

namespace tarnwell {

/// TraceIsOpenFromStart tells whether this code was linked into a program, whose start-up code
/// runs outside the loader lock, and not into a DLL, which is attached under it.
bool TraceIsOpenFromStart() noexcept;

/// BindTraceLibrary loads the library on its first call and gives its entries; null where it is
/// missing. Must not be called under the loader lock. The entries stay valid until the process
/// ends.
const TraceLibrary* BindTraceLibrary() noexcept;

}  // namespace tarnwell
