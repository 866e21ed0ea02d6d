// The DLL's entry point and its four exports.

#include "common/system/trace/trace.h"
#include "tarnwell/win32/library_leavings.h"
#include "tarnwell/win32/module.h"
#include "tarnwell/win32/registration.h"
// Windows last.
#include <shlobj.h>

using namespace tarnwell;

namespace {

/// Has the explorer forget what it knows of file types: it looks them up once.
HRESULT UpdateAndTell(ERegistryUpdate update) noexcept {
    const HRESULT result = UpdateAllClasses(update, HKEY_CLASSES_ROOT);
    SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
    return result;
}

}  // namespace

/// Runs under the loader lock: it remembers the handle, tells the trace from when to when calls
/// into another library are allowed, sees to what the compiler's libraries leave behind, and does
/// nothing else.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    static const CLibraryLeavings leavings(instance);  // the first of all, so the last to go
    if (reason == DLL_PROCESS_ATTACH) {
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
    return UpdateAndTell(ERegistryUpdate::kRegister);
}

STDAPI DllUnregisterServer() {
    return UpdateAndTell(ERegistryUpdate::kUnregister);
}
