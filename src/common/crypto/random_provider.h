#pragma once

// The seam between the random method and the system's cryptographic provider. Only the random
// method calls it; a test puts another provider in its place.

#include <cstdint>

namespace tarnwell {

struct RandomProvider {
    /// What the system knows a provider by; 0 is none.
    using Handle = std::uintptr_t;

    /// Gives a handle, 0 on failure.
    Handle (*acquire)() noexcept;
    /// Takes a handle back.
    void (*release)(Handle provider) noexcept;
    /// Fills `size` bytes; false on failure.
    bool (*generate)(Handle provider, unsigned char* bytes, std::uint32_t size) noexcept;
};

/// SystemRandomProvider is the system's own; in native builds one that there never is.
const RandomProvider& SystemRandomProvider() noexcept;

/// ReplaceRandomProvider starts over with `provider` (not owned; null: the system's): what was
/// acquired goes back, and a fall-back is forgotten. For tests; not synchronised with callers.
void ReplaceRandomProvider(const RandomProvider* provider) noexcept;

}  // namespace tarnwell
