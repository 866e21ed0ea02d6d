#include <windows.h>

#include <cstdlib>

#include "common/system/memory/zone_system.h"

namespace tarnwell {
namespace {

class CWin32ZoneSystem final : public IZoneSystem {
public:
    void* Reserve(std::size_t size) noexcept override {
        return VirtualAlloc(nullptr, size, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    }

    void Release(void* base, std::size_t size) noexcept override {
        // The call with the size is the maker's; where the system insists on zero there, the
        // second one keeps an unloaded module or an idle zone from staying behind, locked. A
        // string may go between somebody's failed call and the look at its error.
        const DWORD error = GetLastError();
        if (!VirtualFree(base, size, MEM_RELEASE))
            VirtualFree(base, 0, MEM_RELEASE);
        SetLastError(error);
    }

    bool Lock(void* base, std::size_t size) noexcept override {
        return VirtualLock(base, size) != FALSE;
    }

    WorkingSet GetWorkingSet() noexcept override {
        SIZE_T minimum = 0;
        SIZE_T maximum = 0;
        if (!GetProcessWorkingSetSize(GetCurrentProcess(), &minimum, &maximum))
            return {};
        return {minimum, maximum};
    }

    bool SetWorkingSet(const WorkingSet& sizes) noexcept override {
        return SetProcessWorkingSetSize(GetCurrentProcess(), sizes.minimum, sizes.maximum) != FALSE;
    }

    std::uint32_t LastError() noexcept override { return GetLastError(); }

    void* AllocateHeap(std::size_t size) noexcept override { return std::malloc(size); }
    void FreeHeap(void* memory) noexcept override { std::free(memory); }
};

constinit CWin32ZoneSystem s_system;

}  // namespace

IZoneSystem& OsZoneSystem() noexcept {
    return s_system;
}

}  // namespace tarnwell
