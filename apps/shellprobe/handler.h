#pragma once

// Finding handlers as the explorer does: from what the registry says of a kind of file to an object
// that COM makes. Nothing here knows the extension's DLL. COM must be initialised on the thread.

#include <optional>
#include <stdexcept>
#include <string>

#include "common/system/os/windows.h"
#include "shellprobe/output.h"
// Windows last.
#include <objbase.h>
#include <wrl/client.h>

namespace tarnwell::shellprobe {

/// The handler cannot be had or refuses its work; what() says why and what to do.
class ENoHandler : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// RegisteredClass reads the class identifier that is the default value of a key below
/// HKEY_CLASSES_ROOT; nothing where there is none.
std::optional<CLSID> RegisteredClass(const std::wstring& key);

/// CreateHandler makes the object through COM. Throws ENoHandler.
void CreateHandler(const CLSID& classId, const IID& id, void** object);

/// FindFileHandler finds the handler `name` (a key below shellex) of the type of `file`, by way of
/// its extension, makes it and hands it the file, which must be a full path. False where the type
/// has none. Throws ENoHandler where it has one that cannot be had.
bool FindFileHandler(const std::wstring& file, const wchar_t* name, const IID& id, void** object);

/// HostFor makes a Host for a file that must have a handler, found in the registry or by the
/// system's shell. Throws ENoHandler.
template <class Host>
Host HostFor(const std::wstring& file, bool isThroughShell) {
    if (isThroughShell)
        return Host::FromShell(file);
    std::optional<Host> host = Host::Find(file);
    if (!host)
        throw ENoHandler("there is no such handler for files of this type: " + Utf8(file));
    return *std::move(host);
}

}  // namespace tarnwell::shellprobe
