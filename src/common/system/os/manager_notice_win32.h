#pragma once

// A short word to the manager, posted to its hidden window. Any thread may call.

#include "common/system/text/string.h"

namespace tarnwell {

/// NotifyManager sends `first`, "|" and `second` (UTF-8, without a terminator) to the manager's
/// window as copy data with tag 10. It waits at most 500 ms for the manager to take them; whether
/// it did, and whether there is a manager at all, is not told.
void NotifyManager(const CISOString& first, const CISOString& second) noexcept;

}  // namespace tarnwell
