#pragma once

// Starting a program whose output the caller reads. Keeps no state; any thread may call.

#include "common/system/os/owners_win32.h"

namespace tarnwell {

/// StartWithOutput runs `commandLine`, which alone names the program, in the caller's environment
/// and folder, with `output` (an inheritable handle, the caller's to close) as its standard output
/// and error and no standard input. No other handle reaches the program. Gives the process, none
/// with GetLastError if it could not be started. Throws std::bad_alloc.
CUniqueHandle StartWithOutput(const CUTF16String& commandLine, HANDLE output);

}  // namespace tarnwell
