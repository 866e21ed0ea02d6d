#pragma once

// The allocation hooks of the string class: memory that is locked into RAM where the system
// allows it and wiped on release. One zone of 65,536 bytes serves the process from before any
// other code runs; when it is full a further zone is taken, and given back with its last block.
// Any thread may call.

#include <cstddef>

namespace tarnwell {

/// SecureAllocate returns at least `bytes` bytes aligned to 8; release with SecureFree.
/// Throws std::runtime_error with the zone's message when no zone can serve the request.
void* SecureAllocate(std::size_t bytes);

/// SecureAllocate32 returns room for `units` 32-bit units; otherwise as SecureAllocate.
void* SecureAllocate32(std::size_t units);

/// SecureFree wipes and takes back a block of either function; null is allowed.
void SecureFree(void* block) noexcept;

/// CloseSecureMemory wipes all zones and gives them back, as happens by itself when the program
/// ends or the module is unloaded. For where the module's own destructors will not run.
void CloseSecureMemory() noexcept;

}  // namespace tarnwell
