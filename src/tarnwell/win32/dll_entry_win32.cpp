// Where Windows enters the DLL: the linker is told the name.

#include "common/system/memory/secure_memory.h"
#include "common/system/os/windows.h"

/// The C runtime's own entry: constructors, DllMain, destructors.
extern "C" BOOL WINAPI DllMainCRTStartup(HINSTANCE instance, DWORD reason, LPVOID processEnds);

/// Enters the runtime, but not when the process ends: the system has killed all other threads by
/// then, wherever they were, and a destructor that asks for a lock of theirs would wait for good.
/// All that the DLL holds goes with the process; only texts are still wiped. The stack protector
/// has no value before the runtime sets it, so this function does without.
extern "C" [[gnu::no_stack_protector]] BOOL WINAPI EnterDll(HINSTANCE instance, DWORD reason,
                                                            LPVOID processEnds) {
    if (reason == DLL_PROCESS_DETACH && processEnds) {
        tarnwell::CloseSecureMemory();
        return TRUE;
    }
    return DllMainCRTStartup(instance, reason, processEnds);
}
