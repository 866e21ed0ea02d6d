#include "common/system/memory/secure_zones.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "common/system/trace/trace.h"

namespace tarnwell {
namespace {

constexpr std::size_t kAlignment = 8;
constexpr std::size_t kPage = 4096;

// A further zone adds a sixteenth to what there is: their number grows with the logarithm of the
// text they hold, and each stays small enough that its lists, which are searched from the head,
// stay short. From 1 GiB on all zones are of one size.
constexpr std::size_t kGrowth = 16;
constexpr std::size_t kMostGrowth = std::size_t{64} << 20;

// An idle zone stays as long as the other zones have less room than this: a string that comes and
// goes at the edge of a full zone must not lock and unlock pages every time.
constexpr std::size_t kRoomThatReleases = 16 * 1024;

constexpr std::size_t RoundedUp(std::size_t size, std::size_t unit) noexcept {
    return (size + unit - 1) / unit * unit;
}

}  // namespace

CSecureZones::CSecureZones(IZoneSystem& system) noexcept : m_system(system) {
    try {
        m_zones.reserve(16);
        m_zones.push_back({std::make_unique<CSecureAllocator>(kZone, system), SIZE_MAX});
        m_process = m_zones.front().allocator.get();
        m_size = kZone;
    } catch (const std::exception&) {  // said in the header
    }
}

void* CSecureZones::Allocate(std::size_t bytes) {
    if (bytes <= CSecureAllocator::kLargestZone) {
        bytes = RoundedUp(bytes, kAlignment);
        std::size_t growth = 0;
        bool closed = false;
        {
            const CCriticalSectionLock lock(m_section);
            if (void* data = AllocateFromZones(bytes))
                return data;
            growth = std::min(m_size / kGrowth, kMostGrowth);
            closed = m_closed;
        }
        // Outside the lock: making a zone traces, and tracing may load a library.
        if (!closed)
            if (void* data = AllocateFromNewZone(bytes, growth))
                return data;
    }
    TraceString(CSecureAllocator::kNoBlock);
    throw std::runtime_error(CSecureAllocator::kNoBlock);
}

void* CSecureZones::AllocateFromZones(std::size_t bytes) noexcept {
    for (Zone& zone : m_zones) {
        if (bytes >= zone.refused)
            continue;
        const bool wasIdle = zone.IsIdle();
        const std::size_t before = zone.allocator->UsedBytes();
        if (void* data = zone.allocator->TryAllocate(bytes)) {
            m_usedBytes += zone.allocator->UsedBytes() - before;
            if (wasIdle && IsFurther(zone))
                --m_idleZones;
            return data;
        }
        zone.refused = bytes;
    }
    return nullptr;
}

void* CSecureZones::AllocateFromNewZone(std::size_t bytes, std::size_t growth) noexcept {
    // One block must be larger than what it is needed for, or the zone would pass it over.
    const std::size_t least = std::max(
        kZone,
        RoundedUp(bytes + CSecureAllocator::kHeader + CSecureAllocator::kSmallestBlock, kPage));
    if (least > CSecureAllocator::kLargestZone)
        return nullptr;
    std::unique_ptr<CSecureAllocator> made = MakeZone(std::max(least, growth));
    if (!made && growth > least)
        made = MakeZone(least);
    if (!made)
        return nullptr;

    const CCriticalSectionLock lock(m_section);
    if (m_closed)
        return nullptr;
    const CSecureAllocator& zone = *made;
    try {
        m_zones.insert(FirstBehind(zone.Base()), Zone{std::move(made), SIZE_MAX});
    } catch (const std::exception&) {
        return nullptr;
    }
    m_size += zone.Size();
    ++m_idleZones;
    return AllocateFromZones(bytes);
}

std::unique_ptr<CSecureAllocator> CSecureZones::MakeZone(std::size_t size) noexcept {
    try {
        return std::make_unique<CSecureAllocator>(size, m_system);
    } catch (const std::exception&) {
        return nullptr;
    }
}

void CSecureZones::Free(void* data) noexcept {
    if (!data || !FreeInZone(data))
        return;
    // Each zone dies outside the lock: wiping and unmapping it takes its time.
    while (TakeIdleZone()) {
    }
}

bool CSecureZones::FreeInZone(void* data) noexcept {
    const CCriticalSectionLock lock(m_section);
    const auto zone = ZoneOf(data);
    if (zone == m_zones.end())
        return false;
    const std::size_t before = zone->allocator->UsedBytes();
    zone->allocator->free(data);
    m_usedBytes -= before - zone->allocator->UsedBytes();
    zone->refused = SIZE_MAX;
    if (before != 0 && zone->IsIdle() && IsFurther(*zone))
        ++m_idleZones;
    return m_idleZones != 0;
}

std::vector<CSecureZones::Zone>::iterator CSecureZones::ZoneOf(const void* data) noexcept {
    const auto behind = FirstBehind(static_cast<const std::byte*>(data));
    if (behind == m_zones.begin() || !std::prev(behind)->allocator->Contains(data))
        return m_zones.end();
    return std::prev(behind);
}

std::vector<CSecureZones::Zone>::iterator CSecureZones::FirstBehind(
    const std::byte* address) noexcept {
    return std::upper_bound(m_zones.begin(), m_zones.end(), address,
                            [](const std::byte* wanted, const Zone& zone) {
                                return std::less<>()(wanted, zone.allocator->Base());
                            });
}

std::unique_ptr<CSecureAllocator> CSecureZones::TakeIdleZone() noexcept {
    const CCriticalSectionLock lock(m_section);
    if (m_idleZones == 0)
        return nullptr;
    const auto idle = std::find_if(m_zones.begin(), m_zones.end(), [&](const Zone& zone) {
        if (!zone.IsIdle() || !IsFurther(zone))
            return false;
        const std::size_t others = m_size - zone.allocator->Size();
        return m_usedBytes == 0 || others - m_usedBytes >= kRoomThatReleases ||
               zone.allocator->Size() > std::max(kZone, others);
    });
    if (idle == m_zones.end())
        return nullptr;
    std::unique_ptr<CSecureAllocator> taken = std::move(idle->allocator);
    m_zones.erase(idle);
    m_size -= taken->Size();
    --m_idleZones;
    return taken;
}

void CSecureZones::Close() noexcept {
    // At the end of a process a thread that was ended inside may still hold the lock. Then the
    // system takes the pages, as it always does, and nobody waits.
    if (!m_section.TryEnter())
        return;
    m_closed = true;
    m_zones.clear();
    m_process = nullptr;
    m_size = m_usedBytes = m_idleZones = 0;
    m_section.Leave();
}

std::size_t CSecureZones::FurtherZones() const noexcept {
    const CCriticalSectionLock lock(m_section);
    return m_zones.size() - (m_process ? 1 : 0);
}

}  // namespace tarnwell
