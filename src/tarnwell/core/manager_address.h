#pragma once

// What the manager is told, as text: the command line that starts it and the address that carries
// the request. Pure; the times are linear in the length of the file list.

#include <span>
#include <string_view>

#include "common/system/os/install_paths.h"
#include "common/system/text/string.h"
#include "tarnwell/core/request_codes.h"

namespace tarnwell {

/// ManagerCommandLine is `moduleDirectory` + "\Corvane.exe /standalone", pointed at the 32-bit
/// installation. It carries no quotes, blanks or not.
CUTF16String ManagerCommandLine(const CUTF16String& moduleDirectory,
                                const ProgramFilesFolders& folders);

/// ActionText is what the request calls an action, "SIGN" to "UNKNOWN" for 0 to 4; "" for others.
std::string_view ActionText(ActionCode action) noexcept;

/// JoinFiles puts a "," between the paths. A comma inside a path stays as it is: the manager
/// resolves such a list against the file system.
CUTF16String JoinFiles(std::span<const CUTF16String> files);

/// RequestAddress is "http://127.0.0.1:<port>/dyn/tarnwell_init?action=<name>&files=<list>" with
/// the list joined, as UTF-8 (a lone surrogate and U+FFFE as "?") and percent-encoded; it ends
/// before the first zero unit. `port` goes in as the manager wrote it, checked by nobody here.
CISOString RequestAddress(const CISOString& port, ActionCode action,
                          std::span<const CUTF16String> files);

}  // namespace tarnwell
