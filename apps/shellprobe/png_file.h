#pragma once

// Pictures for people and tests: an icon as a PNG file with its real transparency.

#include <string>

#include "common/system/os/owners_win32.h"

namespace tarnwell::shellprobe {

/// WritePng writes or replaces the file; does nothing for no icon. COM must be initialised. Throws
/// std::runtime_error where it cannot be written.
void WritePng(const CUniqueIcon& icon, const std::wstring& file);

}  // namespace tarnwell::shellprobe
