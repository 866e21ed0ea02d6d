#pragma once

// What the system's own shell hands out for a file: the way every program but the explorer takes.

#include <string>

#include "common/system/os/windows.h"

namespace tarnwell::shellprobe {

/// ShellObject asks the file's folder for an object of interface `id`. `file` is a full path; COM
/// must be initialised. Throws ENoHandler where the shell has none.
void ShellObject(const std::wstring& file, const IID& id, void** object);

}  // namespace tarnwell::shellprobe
