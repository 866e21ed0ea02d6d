#pragma once

// The fixed parts of the explorer window: menu bar, keys, font, and the line that tells what stands
// where.

#include "common/system/os/owners_win32.h"
#include "shellprobe/view/file_list.h"

namespace tarnwell::shellprobe {

using CUniqueAccelerators = CUnique<CHandleTraits<HACCEL, DestroyAcceleratorTable>>;

/// The commands of menu bar and keys; the first three in the order of EViewMode.
enum ECommandId : UINT {
    kLargeCommand = 100,
    kSmallCommand,
    kDetailsCommand,
    kRefreshCommand,
    kSelectAllCommand,
};

/// MakeMenuBar makes the menu; the window that gets it destroys it.
HMENU MakeMenuBar();

CUniqueAccelerators MakeAccelerators();

/// MakeMessageFont makes the font that the user has chosen for messages; the caller deletes it.
HFONT MakeMessageFont();

/// TellListed prints the names, the middles of their icons on the screen, the mode and how many
/// pictures the image lists hold.
void TellListed(const CFileList& list, EViewMode mode);

}  // namespace tarnwell::shellprobe
