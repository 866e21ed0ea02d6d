#pragma once

// The trace file, written only where somebody asked for it before the first call came: the
// environment variable TARNWELL_TRACE names it, or else the text value TraceFile of the machine's
// settings key (HKEY_LOCAL_MACHINE\Software\Quorva; "%TEMP%" and the like are filled in where the
// value's type says so). Whatever stands there already and is no trace is left alone. Several
// processes may name the same file. Any thread may call.

#include <atomic>

#include "trace_line.h"

namespace tarnwell::zellog {

enum class ETraceState { kUndecided, kOff, kOn };

/// Decided once; read at every call.
extern constinit std::atomic<ETraceState> s_traceState;

/// DecideTrace looks where to write and opens the file; true if there is one. It leaves the
/// thread's last error alone.
bool DecideTrace() noexcept;

/// TraceIsOn tells whether there is a file to write to.
inline bool TraceIsOn() noexcept {
    const ETraceState state = s_traceState.load(std::memory_order_acquire);
    return state == ETraceState::kUndecided ? DecideTrace() : state == ETraceState::kOn;
}

/// WriteTrace appends one line for the calling thread. Whatever goes wrong (the disk is full, the
/// folder is gone) is ignored: a program is never disturbed by its trace. The thread's last error
/// may change.
void WriteTrace(unsigned depth, ETraceMark mark, const char* text) noexcept;

}  // namespace tarnwell::zellog
