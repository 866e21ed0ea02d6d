#pragma once

// The random source of libcrypto: the system's cryptographic provider, and libcrypto's own
// generator where there is none (always so in native builds). Any thread may call.

#include <cstddef>

namespace tarnwell {

/// InstallRandomMethod makes libcrypto take all its random numbers from here: keys, initialisation
/// vectors, paddings. Call it once, before the process's first key is made; it starts libcrypto
/// (StartOpenSsl) if need be. The method's functions, as RAND_set_rand_method knows them:
///   bytes, pseudorand   RandomBytes; a negative count is refused;
///   status              1 if there is a provider, otherwise what libcrypto's own generator says;
///   seed, add           1: a provider seeds itself, so what is offered is not needed. After the
///                       fall-back they reach libcrypto's own generator;
///   cleanup             none: the provider is kept for the life of the process.
void InstallRandomMethod() noexcept;

/// RandomBytes fills `buffer` with `count` random bytes: 1, or 0 on failure, when the buffer must
/// not be used. The first call without a provider traces a warning and installs libcrypto's own
/// generator for good, which from then on serves this function too.
int RandomBytes(unsigned char* buffer, std::size_t count) noexcept;

}  // namespace tarnwell
