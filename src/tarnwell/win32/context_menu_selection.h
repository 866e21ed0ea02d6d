#pragma once

// Taking the selected files out of what the shell hands to a handler.

#include <optional>
#include <vector>

#include "common/system/text/string.h"
// Windows last.
#include <objidl.h>
#include "common/system/os/windows.h"

namespace tarnwell {

/// ReadSelection asks `dataObject` (null is one without data) for its CF_HDROP and gives the full
/// paths in the selection's order; nothing when there is no such data, it holds no file, or its
/// names do not end inside its block. Reports its steps and every name to the trace. Throws
/// std::bad_alloc; the data is given back on every way out.
std::optional<std::vector<CUTF16String>> ReadSelection(IDataObject* dataObject);

}  // namespace tarnwell
