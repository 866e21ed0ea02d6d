#pragma once

// The trace file. It is written only where the environment variable TARNWELL_TRACE names it when
// the first call comes; several processes may name the same one. Any thread may call.

#include "trace_line.h"

namespace tarnwell::zellog {

/// TraceIsOn tells whether there is a file to write to. Decided once; cheap afterwards.
bool TraceIsOn() noexcept;

/// WriteTrace appends one line for the calling thread. Whatever goes wrong (the disk is full, the
/// folder is gone) is ignored: a program is never disturbed by its trace.
void WriteTrace(unsigned depth, ETraceMark mark, const char* text) noexcept;

}  // namespace tarnwell::zellog
