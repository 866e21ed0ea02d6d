#include "tarnwell/win32/library_leavings.h"

#include <array>
#include <atomic>

namespace {

/// A function of the system that has its name from here in this DLL.
template <class Function>
Function* Original(const char* name) noexcept {
    return reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), name)));
}

/// The slots that this DLL holds, each one higher; 0 for none. A slot that finds no room here stays
/// the process's. The first one is taken before any constructor runs.
constinit std::array<std::atomic<DWORD>, 32> s_slots{};

void Replace(DWORD old, DWORD wanted) noexcept {
    for (std::atomic<DWORD>& slot : s_slots) {
        DWORD expected = old;
        if (slot.compare_exchange_strong(expected, wanted))
            return;
    }
}

DWORD WINAPI TakeSlot() noexcept {
    const DWORD slot = Original<decltype(TlsAlloc)>("TlsAlloc")();
    if (slot != TLS_OUT_OF_INDEXES)
        Replace(0, slot + 1);
    return slot;
}

BOOL WINAPI FreeSlot(DWORD slot) noexcept {
    Replace(slot + 1, 0);
    return Original<decltype(TlsFree)>("TlsFree")(slot);
}

}  // namespace

// Through these pointers all of the DLL calls the system; the linker takes them instead of those
// that it would make itself. Behind the third the thread library hears that a thread ends.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker's names
extern "C" {
extern decltype(&TlsAlloc) const __imp_TlsAlloc;
extern decltype(&TlsFree) const __imp_TlsFree;
decltype(&TlsAlloc) const __imp_TlsAlloc = &TakeSlot;
decltype(&TlsFree) const __imp_TlsFree = &FreeSlot;
extern const PIMAGE_TLS_CALLBACK __xl_f;
}
namespace __gnu_cxx {
void __freeres();  // gives back the reserve; no header declares it
}

namespace tarnwell {

CLibraryLeavings::~CLibraryLeavings() {
    __xl_f(m_instance, DLL_THREAD_DETACH, nullptr);
    for (std::atomic<DWORD>& slot : s_slots)
        if (const DWORD held = slot.load())
            FreeSlot(held - 1);
    __gnu_cxx::__freeres();
}

}  // namespace tarnwell
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
