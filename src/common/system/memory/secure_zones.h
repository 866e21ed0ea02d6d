#pragma once

// The process's secure memory: one zone of 65,536 bytes that is there from the start, and further
// zones for as long as it is full. Owns all zones; any thread may call.

#include <cstddef>
#include <memory>
#include <vector>

#include "common/system/memory/critical_section.h"
#include "common/system/memory/secure_allocator.h"

namespace tarnwell {

class CSecureZones {
public:
    /// Size of the process's zone, and of the smallest further one.
    static constexpr std::size_t kZone = 65'536;

    /// Takes the process's zone from `system`, which must outlive this. Without memory even on
    /// the ordinary heap there is no such zone, and every request tries a further one.
    explicit CSecureZones(IZoneSystem& system) noexcept;
    ~CSecureZones() { Close(); }
    CSecureZones(const CSecureZones&) = delete;
    CSecureZones& operator=(const CSecureZones&) = delete;

    /// Allocate gives at least `bytes` zeroed bytes, aligned to 8, from the first zone by address
    /// that can serve them, or from a further zone. Throws std::runtime_error with the zone's
    /// message, traced before, when no zone can be had.
    void* Allocate(std::size_t bytes);

    /// Free wipes and takes back a block of Allocate. A further zone goes with its last block, or
    /// as soon after it as the other zones are not nearly full. Null, and anything after Close,
    /// is left alone.
    void Free(void* data) noexcept;

    /// Close wipes and gives back all zones with whatever is still in them. Allocate fails then.
    void Close() noexcept;

    /// FurtherZones is the number of zones besides the process's.
    std::size_t FurtherZones() const noexcept;

private:
    struct Zone {
        std::unique_ptr<CSecureAllocator> allocator;
        // The smallest request that the zone refused since its last release: larger ones need
        // no look at its lists.
        std::size_t refused;

        bool IsIdle() const noexcept { return allocator->UsedBytes() == 0; }
    };

    void* AllocateFromZones(std::size_t bytes) noexcept;
    void* AllocateFromNewZone(std::size_t bytes, std::size_t growth) noexcept;
    std::unique_ptr<CSecureAllocator> MakeZone(std::size_t size) noexcept;
    bool FreeInZone(void* data) noexcept;
    std::vector<Zone>::iterator ZoneOf(const void* data) noexcept;
    std::vector<Zone>::iterator FirstBehind(const std::byte* address) noexcept;
    std::unique_ptr<CSecureAllocator> TakeIdleZone() noexcept;
    bool IsFurther(const Zone& zone) const noexcept { return zone.allocator.get() != m_process; }

    IZoneSystem& m_system;
    mutable CCriticalSection m_section;
    std::vector<Zone> m_zones;  // by base address, ascending
    const CSecureAllocator* m_process = nullptr;
    std::size_t m_size = 0;       // bytes of all zones
    std::size_t m_usedBytes = 0;  // bytes of all blocks in use
    std::size_t m_idleZones = 0;  // further zones without a block in use
    bool m_closed = false;
};

}  // namespace tarnwell
