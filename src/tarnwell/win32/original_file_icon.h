#pragma once

// The icon that the shell shows for files of a type, found as the shell finds it: through the
// type's registration. The icon handler draws on it. No state; called on the handler's thread.

#include <string_view>

#include "common/system/os/owners_win32.h"

namespace tarnwell {

/// LoadOriginalFileIcon gives the icons of files with `extension` (without its dot) into those of
/// the two owners that are not null, `largeSize` and `smallSize` pixels square. `classes` is where
/// types are registered. Where an icon that is asked for cannot be had, for whatever reason, both
/// are the shell's default icon instead; null where there is not even that at the size. Throws
/// std::exception without memory.
void LoadOriginalFileIcon(std::u16string_view extension, CUniqueIcon* largeIcon,
                          CUniqueIcon* smallIcon, UINT largeSize, UINT smallSize,
                          HKEY classes = HKEY_CLASSES_ROOT);

}  // namespace tarnwell
