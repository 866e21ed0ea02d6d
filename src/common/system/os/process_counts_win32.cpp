#include "common/system/os/process_counts.h"

#include <cstddef>
#include <cstring>
#include <vector>

#include "common/system/os/windows.h"
// Windows last.
#include <winternl.h>

namespace tarnwell {
namespace {

/// NtFunction asks for a function of ntdll.dll by name: its import library would bring the DLL's
/// copy of the C runtime into every program that links this room.
template <class Function>
Function* NtFunction(const char* name) noexcept {
    return reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name)));
}

void CountHeaps(ProcessCounts& counts) {
    std::vector<HANDLE> heaps(GetProcessHeaps(0, nullptr) + 16);
    heaps.resize(GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()));
    for (const HANDLE heap : heaps) {
        HeapLock(heap);
        PROCESS_HEAP_ENTRY entry = {};
        while (HeapWalk(heap, &entry)) {
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) {
                counts.heapBytes += entry.cbData;
                ++counts.heapBlocks;
            }
        }
        HeapUnlock(heap);
    }
}

std::uint64_t CountCommitted() {
    std::uint64_t bytes = 0;
    MEMORY_BASIC_INFORMATION region = {};
    const char* at = nullptr;
    while (VirtualQuery(at, &region, sizeof region) != 0) {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE)
            bytes += region.RegionSize;
        at = static_cast<const char*>(region.BaseAddress) + region.RegionSize;
    }
    return bytes;
}

// GetProcessHandleCount and GetGuiResources count nothing under Wine. There both are counted where
// they stand: in the system's table of handles and in the process's table of GDI objects. On
// Windows neither table will do: the one cuts process numbers to 16 bits, the other is the whole
// session's.

std::uint64_t CountHandles() {
    DWORD told = 0;
    if (GetProcessHandleCount(GetCurrentProcess(), &told) && told != 0)
        return told;
    struct Entry {
        ULONG process;
        UCHAR type;
        UCHAR flags;
        USHORT handle;
        void* object;
        ULONG access;
    };
    constexpr auto kHandleInformation = static_cast<SYSTEM_INFORMATION_CLASS>(16);
    constexpr std::size_t kFirstEntry = 8;  // behind the number of entries, aligned

    const auto query = NtFunction<decltype(NtQuerySystemInformation)>("NtQuerySystemInformation");
    std::vector<std::byte> table(1 << 16);
    ULONG needed = 0;
    while (!query ||
           query(kHandleInformation, table.data(), static_cast<ULONG>(table.size()), &needed) < 0) {
        if (table.size() > (std::size_t{1} << 28))
            return 0;
        table.resize(table.size() * 2);
    }
    ULONG count = 0;
    std::memcpy(&count, table.data(), sizeof count);
    std::uint64_t own = 0;
    for (ULONG i = 0; i < count; ++i) {
        Entry entry = {};
        std::memcpy(&entry, table.data() + kFirstEntry + i * sizeof entry, sizeof entry);
        own += entry.process == GetCurrentProcessId();
    }
    return own;
}

std::uint64_t CountGdiObjects() {
    SetLastError(ERROR_SUCCESS);
    const DWORD told = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
    if (told != 0 || GetLastError() == ERROR_SUCCESS)
        return told;
    constexpr std::size_t kTableInPeb = 0xF8;
    constexpr std::size_t kEntries = 0x4000;
    constexpr std::size_t kEntryBytes = 24;
    constexpr std::size_t kTypeInEntry = 14;  // 0 for an entry that is free
    const auto query = NtFunction<decltype(NtQueryInformationProcess)>("NtQueryInformationProcess");
    PROCESS_BASIC_INFORMATION process = {};
    if (!query ||
        query(GetCurrentProcess(), ProcessBasicInformation, &process, sizeof process, nullptr) < 0)
        return 0;
    const auto* peb = reinterpret_cast<const char*>(process.PebBaseAddress);
    const char* table = nullptr;
    std::memcpy(&table, peb + kTableInPeb, sizeof table);
    std::uint64_t objects = 0;
    for (std::size_t i = 0; table && i < kEntries; ++i)
        objects += table[i * kEntryBytes + kTypeInEntry] != 0;
    return objects;
}

}  // namespace

ProcessCounts CountProcess() {
    ProcessCounts counts;
    counts.handles = CountHandles();
    counts.gdiObjects = CountGdiObjects();
    counts.committedBytes = CountCommitted();
    CountHeaps(counts);
    return counts;
}

}  // namespace tarnwell
