// The DLL's entry point and its four exports.

#include "common/system/trace/trace.h"
#include "tarnwell/win32/library_leavings.h"
#include "tarnwell/win32/module.h"
#include "tarnwell/win32/registration.h"

using namespace tarnwell;

/// Runs under the loader lock: it remembers the handle, tells the trace from when to when calls
/// into another library are allowed, and does nothing else.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        static const CLibraryLeavings leavings(instance);  // the first of all, so the last to go
        Module().Attach(instance);
        DisableThreadLibraryCalls(instance);
        OpenTrace();
    } else if (reason == DLL_PROCESS_DETACH) {
        CloseTrace();
    }
    return TRUE;
}

STDAPI DllGetClassObject(REFCLSID classId, REFIID id, LPVOID* object) {
    return Module().GetClassObject(classId, id, object);
}

STDAPI DllCanUnloadNow() {
    return Module().CanUnloadNow();
}

STDAPI DllRegisterServer() {
    return UpdateAllClasses(ERegistryUpdate::kRegister, HKEY_CLASSES_ROOT);
}

STDAPI DllUnregisterServer() {
    return UpdateAllClasses(ERegistryUpdate::kUnregister, HKEY_CLASSES_ROOT);
}
