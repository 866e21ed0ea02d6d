#include "common/system/memory/secure_memory.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace tarnwell {

void* SecureAllocate(std::size_t bytes) {
    auto* block =
        bytes < SIZE_MAX - 16 ? static_cast<std::size_t*>(std::malloc(bytes + 16)) : nullptr;
    if (!block)
        throw std::runtime_error("SecureAllocator: there is no more block big enough");
    block[0] = bytes;
    return block + 2;
}

void* SecureAllocate32(std::size_t units) {
    return SecureAllocate(units > SIZE_MAX / 8 ? SIZE_MAX : units * 4);
}

void SecureFree(void* block) noexcept {
    if (!block)
        return;
    std::size_t* start = static_cast<std::size_t*>(block) - 2;
    std::memset(block, 0, start[0]);
    std::free(start);
}

}  // namespace tarnwell
