#pragma once

// The hand-over of a command to the manager: starts it in standalone mode, reads the port that it
// tells on its standard output, and sends it one loopback request. Runs on the caller's thread
// and blocks it until the manager has answered. Keeps no state.

#include <span>

#include "common/system/os/install_paths.h"
#include "common/system/os/owners_win32.h"
#include "common/system/text/string.h"
#include "tarnwell/core/request_codes.h"
#include "tarnwell/win32/open_signed_file.h"

namespace tarnwell {

/// CreateManagerPipe makes an anonymous pipe with inheritable ends; false when the system cannot.
bool CreateManagerPipe(CUniqueHandle& readEnd, CUniqueHandle& writeEnd) noexcept;

/// What the hand-over takes from its surroundings. Tests put their own in place.
struct ManagerSurroundings {
    CUTF16String (*moduleDirectory)() = [] { return ModuleDirectory(); };
    bool (*createPipe)(CUniqueHandle& readEnd, CUniqueHandle& writeEnd) = &CreateManagerPipe;
    ShellOpener openFile = &OpenWithShell;
};

/// SendToServer carries out `action` for the full paths `files`: hands both to the manager or,
/// for kActionOpen, opens the first file locally and gives OpenSignedFile's result. Returns
/// kResultDone when the request was delivered (whatever the manager answers) and kResultFailed,
/// with a line in the trace, when not. An unknown action is sent with an empty name.
ResultCode SendToServer(ActionCode action, std::span<const CUTF16String> files,
                        const ManagerSurroundings& surroundings = {}) noexcept;

}  // namespace tarnwell
