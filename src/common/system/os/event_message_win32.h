#pragma once

// Events and system errors in words. Any thread may call; nothing fails but for want of memory.

#include <cstdint>

#include "common/system/os/event.h"
#include "common/system/os/windows.h"

namespace tarnwell {

/// MessageText gives the text of an event in the user's language, without white space behind it,
/// from the message table of zelLog.dll beside this module, which the first call loads. A
/// ready-made event (kEventReadyMade) is its first argument as it stands. Without the library the
/// text is "Unable to retrieve message."; an identifier without a text gives UnknownEventText.
CUTF16String MessageText(const CEvent& event);

/// MessageText from the table of `module`; null stands for the library that is missing.
CUTF16String MessageText(const CEvent& event, HMODULE module);

/// SystemErrorDescription gives the system's text for a Win32 error code and the code in decimal:
/// "Access denied. (5)". A code without a text is "Unavailable description.  (4711)", the second
/// blank included.
CUTF16String SystemErrorDescription(std::uint32_t code);

}  // namespace tarnwell
