#pragma once

// The registry's classes against the table that registering writes. Only reads; any thread.

#include <string>
#include <string_view>

#include "common/system/text/string.h"

namespace tarnwell::shellprobe {

/// RowsProblem looks at the table's rows whose key starts with `prefix` (placeholders filled) and
/// says what is missing or different in the first that is not in order; empty where all are. Names
/// that are only shown to people may differ.
std::string RowsProblem(std::u16string_view prefix, const CUTF16String& modulePath);

}  // namespace tarnwell::shellprobe
