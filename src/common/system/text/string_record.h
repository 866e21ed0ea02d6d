#pragma once

// The ordinary heap that the strings' shared records come from. It stands apart so that static
// analysis, which cannot follow counted references, does not take every release for the last.

#include <cstddef>

namespace tarnwell {

/// NewStringRecord gives `bytes` bytes for any type. Throws std::bad_alloc.
void* NewStringRecord(std::size_t bytes);

/// DeleteStringRecord takes back what NewStringRecord gave.
void DeleteStringRecord(void* record) noexcept;

}  // namespace tarnwell
