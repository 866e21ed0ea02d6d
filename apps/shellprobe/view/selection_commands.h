#pragma once

// What can be done with the selected files: the context menu and the default command, as the
// explorer does both. Each tells on standard output what it showed and did. On the window's thread.

#include <string>
#include <vector>

#include "common/system/os/windows.h"

namespace tarnwell::shellprobe {

using FilePaths = std::vector<std::wstring>;  ///< full paths, at least one

/// ShowSelectionMenu shows the menu at a point of the screen and carries out what is chosen. The
/// handler's items stand below the shell's "Open", which is there where none of them opens.
void ShowSelectionMenu(HWND owner, const FilePaths& files, POINT at);

/// RunDefaultCommand carries out the handler's default item; where it has none, the shell opens
/// each of the files.
void RunDefaultCommand(HWND owner, const FilePaths& files);

/// TellShownMenu belongs to WM_ENTERIDLE of the menu's owner: the menu stands on the screen.
void TellShownMenu(HMENU menu);

}  // namespace tarnwell::shellprobe
