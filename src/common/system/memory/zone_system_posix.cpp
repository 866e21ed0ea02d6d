#include <sys/mman.h>

#include <cerrno>
#include <cstdlib>

#include "common/system/memory/zone_system.h"

namespace tarnwell {
namespace {

class CPosixZoneSystem final : public IZoneSystem {
public:
    void* Reserve(std::size_t size) noexcept override {
        void* base =
            mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        return base == MAP_FAILED ? nullptr : base;
    }

    void Release(void* base, std::size_t size) noexcept override { munmap(base, size); }

    bool Lock(void* base, std::size_t size) noexcept override { return mlock(base, size) == 0; }

    // There is no working set to raise: what may be locked is a limit that the process cannot
    // move. This minimum makes the first refusal final.
    WorkingSet GetWorkingSet() noexcept override { return {10'000'000, 10'000'000}; }
    bool SetWorkingSet(const WorkingSet&) noexcept override { return false; }

    std::uint32_t LastError() noexcept override { return static_cast<std::uint32_t>(errno); }

    void* AllocateHeap(std::size_t size) noexcept override { return std::malloc(size); }
    void FreeHeap(void* memory) noexcept override { std::free(memory); }
};

constinit CPosixZoneSystem s_system;

}  // namespace

IZoneSystem& OsZoneSystem() noexcept {
    return s_system;
}

}  // namespace tarnwell
