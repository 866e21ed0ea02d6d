#pragma once

// Finding handlers as the explorer does: from what the registry says of a kind of file to an object
// that COM makes. Nothing here knows the extension's DLL. COM must be initialised on the thread.

#include <optional>
#include <stdexcept>
#include <string>

#include "common/system/os/windows.h"
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

/// HandlerOfType finds the handler `name` (a key below shellex) of the type of `file`, by way of
/// its extension; nothing where the type has none.
std::optional<CLSID> HandlerOfType(const std::wstring& file, const wchar_t* name);

/// CreateHandler makes the object through COM. Throws ENoHandler.
void CreateHandler(const CLSID& classId, const IID& id, void** object);

/// CreateFileHandler makes the object and hands it the file, which must be a full path. Throws
/// ENoHandler.
void CreateFileHandler(const CLSID& classId, const IID& id, const std::wstring& file,
                       void** object);

}  // namespace tarnwell::shellprobe
