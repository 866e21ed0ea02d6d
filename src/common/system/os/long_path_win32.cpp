#include <string>

#include "common/system/os/long_path.h"
#include "common/system/os/windows.h"

namespace tarnwell {

CUTF16String OpenablePath(const CUTF16String& path) {
    if (path.StartsWith(u"\\\\?\\"))
        return path;
    const DWORD room = GetFullPathNameW(Wide(path), 0, nullptr, nullptr);
    // A short path may be a long one once the current folder stands before it.
    if (room <= kMaxClassicPath)
        return path;
    std::wstring full(room, L'\0');
    const DWORD length = GetFullPathNameW(Wide(path), room, full.data(), nullptr);
    if (length == 0 || length >= room)
        return path;
    return ExtendedPath(CUTF16String(Units(full.c_str()), length));
}

}  // namespace tarnwell
