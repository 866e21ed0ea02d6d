#pragma once

// The seam between the secure zones and the operating system: pages, their lock, the process's
// working set. Tests put their own system here to make each call fail.

#include <cstddef>
#include <cstdint>

namespace tarnwell {

/// Bytes of physical memory that the system keeps for the process.
struct WorkingSet {
    std::size_t minimum = 0;
    std::size_t maximum = 0;
};

class IZoneSystem {
public:
    /// Reserve gives `size` zeroed, readable and writable bytes in pages of their own, or null.
    virtual void* Reserve(std::size_t size) noexcept = 0;
    /// Release gives back the whole of what Reserve gave.
    virtual void Release(void* base, std::size_t size) noexcept = 0;
    /// Lock keeps the pages in physical memory; false with LastError if the system refuses.
    virtual bool Lock(void* base, std::size_t size) noexcept = 0;
    /// GetWorkingSet gives zeros where the system does not tell.
    virtual WorkingSet GetWorkingSet() noexcept = 0;
    /// SetWorkingSet tells whether the system took the new sizes; false with LastError if not.
    virtual bool SetWorkingSet(const WorkingSet& sizes) noexcept = 0;
    /// LastError gives the system's code for the call that failed last on this thread.
    virtual std::uint32_t LastError() noexcept = 0;
    /// AllocateHeap gives ordinary memory, or null; release with FreeHeap.
    virtual void* AllocateHeap(std::size_t size) noexcept = 0;
    virtual void FreeHeap(void* memory) noexcept = 0;

protected:
    ~IZoneSystem() = default;
};

/// OsZoneSystem is the operating system itself; it lives as long as the process.
IZoneSystem& OsZoneSystem() noexcept;

}  // namespace tarnwell
