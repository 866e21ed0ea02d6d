#pragma once

// Where the demo identity lives: the folder "demo-identity" in the manager's home, made as a whole
// at the first start. Two managers that start at once both make one; the first to move its folder
// into place wins, and the other uses that.

#include <string>

#include "manager/core/files.h"
#include "manager/core/identity.h"
#include "manager/core/log.h"

namespace tarnwell::manager {

/// OpenIdentity reads the identity in `home`, making it first where there is none, and says in
/// the log what it did. Throws CException with what to do about it where the folder cannot be
/// made or holds something else.
Identity OpenIdentity(const std::u16string& home, CFiles& files, const CLog& log);

}  // namespace tarnwell::manager
