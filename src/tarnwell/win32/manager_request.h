#pragma once

// The hand-over of a command to the manager: starts it in standalone mode, reads the port that it
// tells on its standard output, and sends it one loopback request. Runs on the caller's thread
// and blocks it until the manager has answered. Keeps no state.

#include <cstdint>
#include <span>

#include "common/system/text/string.h"
#include "tarnwell/core/request_codes.h"

namespace tarnwell {

/// SendToServer carries out `action` for the full paths `files`: hands both to the manager or,
/// for kActionOpen, opens the first file locally and gives OpenSignedFile's result. Returns
/// kResultDone when the request was delivered (whatever the manager answers) and kResultFailed,
/// with a line in the trace, when not. An unknown action is sent with an empty name.
ResultCode SendToServer(ActionCode action, std::span<const CUTF16String> files) noexcept;

}  // namespace tarnwell
