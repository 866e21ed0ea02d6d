#pragma once

// Paths longer than the classic Windows limit of 260 units, terminator included. No state.

#include <cstddef>

#include "common/system/text/string.h"

namespace tarnwell {

/// The classic limit in units, terminator included (MAX_PATH).
inline constexpr std::size_t kMaxClassicPath = 260;

/// ExtendedPath writes a full, normalised path in the form that knows no limit: "C:\a" becomes
/// "\\?\C:\a", "\\server\share\a" becomes "\\?\UNC\server\share\a". A path that is extended or
/// names a device ("\\?\", "\\.\") already, or is not full, is returned as it is.
CUTF16String ExtendedPath(const CUTF16String& fullPath);

/// OpenablePath is what to hand to the file functions of Windows for `path`: the path itself where
/// it fits, else its full path (relative parts and slashes resolved) in the extended form.
/// Windows builds only.
CUTF16String OpenablePath(const CUTF16String& path);

}  // namespace tarnwell
