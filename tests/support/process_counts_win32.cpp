#include "support/process_counts_win32.h"

#include "common/system/os/windows.h"

#include <stdexcept>
#include <vector>

namespace tarnwell::test {
namespace {

// The system's list of all handles (class 16), as winternl.h does not declare it.
constexpr ULONG kSystemHandleInformation = 16;
constexpr LONG kLengthMismatch = static_cast<LONG>(0xC0000004);

struct HandleEntry {
    USHORT processId;
    USHORT backTraceIndex;
    UCHAR objectType;
    UCHAR attributes;
    USHORT handle;
    PVOID object;
    ULONG access;
};
struct HandleList {
    ULONG count;
    HandleEntry entries[1];
};

using Query = LONG(WINAPI*)(ULONG, PVOID, ULONG, PULONG);

}  // namespace

std::size_t OpenHandleCount() {
    const auto query = reinterpret_cast<Query>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    std::vector<HandleEntry> buffer(4096);
    LONG status = kLengthMismatch;
    while (query && status == kLengthMismatch) {
        buffer.resize(buffer.size() * 2);
        status = query(kSystemHandleInformation, buffer.data(),
                       static_cast<ULONG>(buffer.size() * sizeof(HandleEntry)), nullptr);
    }
    if (status < 0)
        throw std::runtime_error("the system does not list its handles");
    const auto* list = reinterpret_cast<const HandleList*>(buffer.data());
    std::size_t count = 0;
    for (ULONG i = 0; i < list->count; ++i)
        count += list->entries[i].processId == static_cast<USHORT>(GetCurrentProcessId());
    return count;
}

std::size_t HeapBytes() {
    std::vector<HANDLE> heaps(GetProcessHeaps(0, nullptr) + 8);
    heaps.resize(GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()));
    std::size_t bytes = 0;
    for (HANDLE heap : heaps) {
        HeapLock(heap);
        PROCESS_HEAP_ENTRY entry{};
        while (HeapWalk(heap, &entry))
            if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)
                bytes += entry.cbData;
        HeapUnlock(heap);
    }
    return bytes;
}

}  // namespace tarnwell::test
