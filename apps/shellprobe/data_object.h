#pragma once

// The data object that stands for selected files, as a handler gets it.

#include <string>
#include <vector>

#include "common/system/os/windows.h"
// Windows last.
#include <objidl.h>
#include <wrl/client.h>

namespace tarnwell::shellprobe {

/// MakeDataObject gives the shell's own data object where all files exist in one folder, and one
/// with the same CF_HDROP list otherwise. Paths must be full. COM must be initialised.
/// Throws std::bad_alloc.
Microsoft::WRL::ComPtr<IDataObject> MakeDataObject(const std::vector<std::wstring>& files);

}  // namespace tarnwell::shellprobe
