#include "common/system/memory/secure_memory.h"

#include <cstdint>
#include <new>

#include "common/system/memory/secure_zones.h"

namespace tarnwell {
namespace {

// Never destroyed as an object: a string that outlives the zones (a static one of another file, a
// leaked one) still finds it, closed, and its release is ignored.
alignas(CSecureZones) constinit unsigned char s_storage[sizeof(CSecureZones)] = {};

CSecureZones& Zones() noexcept {
    static auto* const zones = new (s_storage) CSecureZones(OsZoneSystem());
    return *zones;
}

// Made before every other static object of the module and therefore destroyed after them all, at
// the end of the process or when the module is unloaded.
struct ZonesLifetime {
    ZonesLifetime() noexcept { Zones(); }
    ~ZonesLifetime() { CloseSecureMemory(); }
};
[[gnu::init_priority(101)]] ZonesLifetime s_lifetime;

}  // namespace

void* SecureAllocate(std::size_t bytes) {
    return Zones().Allocate(bytes);
}

void* SecureAllocate32(std::size_t units) {
    return Zones().Allocate(units > SIZE_MAX / 4 ? SIZE_MAX : units * 4);
}

void SecureFree(void* block) noexcept {
    Zones().Free(block);
}

void CloseSecureMemory() noexcept {
    Zones().Close();
}

}  // namespace tarnwell
