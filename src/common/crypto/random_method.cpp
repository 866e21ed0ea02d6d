#include "common/crypto/random_method.h"

#include <openssl/rand.h>

#include <algorithm>
#include <atomic>
#include <limits>

#include "common/crypto/openssl_start.h"
#include "common/crypto/random_provider.h"
#include "common/system/trace/trace.h"

namespace tarnwell {
namespace {

using Handle = RandomProvider::Handle;

constinit std::atomic<const RandomProvider*> s_replacement = nullptr;
constinit std::atomic<Handle> s_held = 0;
constinit std::atomic<bool> s_hasFallenBack = false;

const RandomProvider& Provider() noexcept {
    const RandomProvider* replacement = s_replacement;
    return replacement ? *replacement : SystemRandomProvider();
}

/// Held gives the process's provider, acquired by the first call; 0 without one. Two first callers
/// may both acquire one: the second gives its own back.
Handle Held() noexcept {
    Handle held = s_held;
    if (held != 0 || s_hasFallenBack)
        return held;
    const Handle acquired = Provider().acquire();
    if (acquired == 0 || s_held.compare_exchange_strong(held, acquired))
        return acquired;
    Provider().release(acquired);
    return held;
}

void FallBack() noexcept {
    if (s_hasFallenBack.exchange(true))
        return;
    TraceString("WARNING: Unable to acquire MS Base CSP context for generating randoms");
    RAND_set_rand_method(RAND_OpenSSL());
}

/// InPieces calls `fill` for as much as it takes at once until all is filled; false if it fails.
template <class Count, class Fill>
bool InPieces(unsigned char* buffer, std::size_t count, const Fill& fill) noexcept {
    while (count > 0) {
        constexpr std::size_t kMost = std::numeric_limits<Count>::max();
        const std::size_t piece = std::min(count, kMost);
        if (!fill(buffer, static_cast<Count>(piece)))
            return false;
        buffer += piece;
        count -= piece;
    }
    return true;
}

int Bytes(unsigned char* buffer, int count) noexcept {
    return count < 0 ? 0 : RandomBytes(buffer, static_cast<std::size_t>(count));
}

int Status() noexcept {
    return Held() != 0 ? 1 : RAND_OpenSSL()->status();
}

}  // namespace

int RandomBytes(unsigned char* buffer, std::size_t count) noexcept {
    const Handle provider = Held();
    if (provider != 0)
        return InPieces<std::uint32_t>(buffer, count,
                                       [&](unsigned char* bytes, std::uint32_t size) {
                                           return Provider().generate(provider, bytes, size);
                                       });
    FallBack();
    return InPieces<int>(buffer, count, [](unsigned char* bytes, int size) {
        return RAND_OpenSSL()->bytes(bytes, size) == 1;
    });
}

void InstallRandomMethod() noexcept {
    static constexpr RAND_METHOD kMethod = {
        [](const void*, int) { return 1; },          // seed
        Bytes,                                       // bytes
        nullptr,                                     // cleanup
        [](const void*, int, double) { return 1; },  // add
        Bytes,                                       // pseudorand
        Status,
    };
    StartOpenSsl();
    RAND_set_rand_method(&kMethod);
}

void ReplaceRandomProvider(const RandomProvider* provider) noexcept {
    if (const Handle held = s_held.exchange(0))
        Provider().release(held);
    s_replacement = provider;
    s_hasFallenBack = false;
}

}  // namespace tarnwell
