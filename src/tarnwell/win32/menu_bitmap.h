#pragma once

// The pictures of menu items: icon resources turned into 32-bit bitmaps. A menu only borrows its
// items' bitmaps, and nobody tells a handler when the explorer destroys the menu, so they belong
// to the module: one for each resource and size, made when first shown, shared by all menus of
// the process and deleted when the module is unloaded. Any thread may call.

#include <cstdint>

#include "common/system/os/windows.h"

namespace tarnwell {

/// MenuBitmap gives the picture of the icon resource `icon` at the size of small icons: a
/// top-down DIB section of 32 bits a pixel, blue first. Null, and nothing kept, on any failure.
/// The caller must have COM initialised on its thread and must not delete the bitmap.
HBITMAP MenuBitmap(std::uint16_t icon) noexcept;

}  // namespace tarnwell
