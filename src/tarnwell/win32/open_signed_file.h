#pragma once

// Opening a signed-only file without the manager: its content is inside in clear, is written
// beside it and handed to the shell. Called on the explorer's apartment thread.

#include <cstdint>

#include "common/system/text/string.h"
#include "tarnwell/core/request_codes.h"

namespace tarnwell {

/// Opens a file with the program registered for it. The result is ShellExecuteW's: below 32 is a
/// failure.
using ShellOpener = std::intptr_t (*)(const CUTF16String& file);

/// OpenWithShell is the shell's own "open" verb, without a window.
std::intptr_t OpenWithShell(const CUTF16String& file);

/// OpenSignedFile writes the content of the signed-only PKCS#7 file `path` to the path cut before
/// its last "." (replacing a file of that name; a path without "." writes nothing) and opens it
/// with `open`. The signature is not judged. Returns kResultDone, kResultRecoverFailed,
/// kResultOpenFailed, or kResultFailed for a file of another type and for every exception.
ResultCode OpenSignedFile(const CUTF16String& path, ShellOpener open = &OpenWithShell) noexcept;

}  // namespace tarnwell
