#pragma once

// A part of the registry as plain data, to compare before and after.

#include <map>
#include <string>

#include "common/system/os/windows.h"

namespace tarnwell::test {

/// Every key below a root, by its path from there, with its values ("": the default value). Texts
/// are UTF-8; a value that is no REG_SZ is "type N".
using RegistrySnapshot = std::map<std::string, std::map<std::string, std::string>>;

/// ReadRegistry takes everything below `root`, not the root's own values.
RegistrySnapshot ReadRegistry(HKEY root);

}  // namespace tarnwell::test
