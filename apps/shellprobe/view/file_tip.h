#pragma once

// The tip of a file, from its type's handler. The thread must have COM initialised.

#include <optional>
#include <string>

namespace tarnwell::shellprobe {

/// AskTip gives the tip that the handler has for `file`, a full path; nothing where it has none or
/// the type has no handler. What the handler said is told on standard output.
std::optional<std::wstring> AskTip(const std::wstring& file);

}  // namespace tarnwell::shellprobe
