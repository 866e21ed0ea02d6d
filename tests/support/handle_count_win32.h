#pragma once

// How many handles this process has open, to find those that are never closed.

#include <cstddef>

namespace tarnwell::test {

/// OpenHandleCount counts the handles of this process over all their kinds. Throws
/// std::runtime_error when the system does not tell.
std::size_t OpenHandleCount();

}  // namespace tarnwell::test
