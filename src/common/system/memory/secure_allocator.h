#pragma once

// One zone of memory that is locked into RAM and wiped on release, cut into blocks by a two-level
// segregated fit: 16 sub-classes for each power of two. The zone owns its pages; blocks belong to
// their callers until freed. Any thread may call: every operation takes the zone's lock.

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "common/system/memory/critical_section.h"
#include "common/system/memory/zone_system.h"

namespace tarnwell {

/// The start of every block. Blocks follow each other without gaps, at any address: sizes are not
/// rounded here (the hooks ask for multiples of 8, so theirs are aligned).
struct [[gnu::packed]] SecureBlock {
    std::uint64_t size;     // whole block in bytes; kUsed is added while it is in use
    SecureBlock* previous;  // physical neighbour before this one; null for the first
    SecureBlock* next;      // free blocks: next of the same list; used blocks: caller's data
};

class CSecureAllocator {
public:
    static constexpr std::size_t kHeader = 16;
    static constexpr std::size_t kSmallestBlock = 24;
    static constexpr std::size_t kLists = 512;
    static constexpr std::uint64_t kUsed = 0x80000000;
    static constexpr std::size_t kLargestZone = kUsed - 1;

    /// What an exhausted zone reports.
    static constexpr const char* kNoBlock = "SecureAllocator: there is no more block big enough";

    /// Takes a locked zone of `size` bytes (kSmallestBlock to kLargestZone) from `system`, which
    /// must outlive it. Where the system gives or locks none, the zone is ordinary heap memory,
    /// which is traced. Throws std::bad_alloc if there is not even that, std::invalid_argument
    /// for another size.
    CSecureAllocator(std::size_t size, IZoneSystem& system);
    /// Wipes the zone and gives it back; blocks still in use go with it.
    ~CSecureAllocator();
    CSecureAllocator(const CSecureAllocator&) = delete;
    CSecureAllocator& operator=(const CSecureAllocator&) = delete;

    /// allocate gives at least `bytes` zeroed bytes. Throws std::runtime_error(kNoBlock), traced
    /// before, if no free block is big enough.
    void* allocate(std::size_t bytes);

    /// TryAllocate is allocate that gives null instead, and traces nothing.
    void* TryAllocate(std::size_t bytes) noexcept;

    /// free wipes a block of allocate or TryAllocate and takes it back. A block that is already
    /// free is left alone.
    void free(void* data) noexcept;

    bool Contains(const void* address) const noexcept {
        const auto* byte = static_cast<const std::byte*>(address);
        return byte >= m_base && byte < m_end;
    }
    const std::byte* Base() const noexcept { return m_base; }
    std::size_t Size() const noexcept { return static_cast<std::size_t>(m_end - m_base); }
    /// IsFallback tells whether the zone is ordinary heap memory.
    bool IsFallback() const noexcept { return m_fallback; }
    /// UsedBytes is what the blocks in use take, headers included. Not synchronised with callers
    /// on other threads, like FreeList.
    std::size_t UsedBytes() const noexcept { return m_usedBytes; }
    /// FreeList is the first free block of a class, null if there is none.
    const SecureBlock* FreeList(std::size_t sizeClass) const noexcept { return m_free[sizeClass]; }

    /// ClassOf gives the list for blocks of `size` bytes (16 to kLargestZone).
    static constexpr std::size_t ClassOf(std::size_t size) noexcept {
        const auto power = static_cast<std::size_t>(std::bit_width(std::max(size, kHeader))) - 1;
        return ((size - (std::size_t{1} << power)) >> (power - 4)) + 16 * (power - 4);
    }

private:
    void TakeLockedZone(std::size_t size);
    void LockZone(std::size_t size);
    SecureBlock* Find(std::size_t needed) const noexcept;
    void Insert(SecureBlock* block) noexcept;
    void Unlink(SecureBlock* block) noexcept;
    SecureBlock* Following(const SecureBlock* block) const noexcept;

    IZoneSystem& m_system;
    CCriticalSection m_section;
    std::byte* m_base = nullptr;
    std::byte* m_end = nullptr;
    bool m_fallback = false;
    std::unique_ptr<SecureBlock*[]> m_free;
    std::size_t m_usedBytes = 0;
};

}  // namespace tarnwell
