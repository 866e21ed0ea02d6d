#pragma once

// Handlers get full paths, whatever the user typed.

#include <string>
#include <vector>

#include "common/system/text/string.h"

namespace tarnwell::shellprobe {

/// FullPath resolves against the current folder; a path that cannot be resolved stays as it is.
std::wstring FullPath(const CUTF16String& path);

/// FullPaths does so with each.
std::vector<std::wstring> FullPaths(const std::vector<CUTF16String>& paths);

}  // namespace tarnwell::shellprobe
