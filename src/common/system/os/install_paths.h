#pragma once

// Where things are installed: every file that the extension needs besides itself is found from
// the folder of its own module, never through the current folder or a configured path. Helpers
// only build paths; nothing here looks whether a file exists. No state; any thread may call.

#include <string_view>

#include "common/system/text/string.h"

namespace tarnwell {

/// ModulePath is the full path of the module that this code is linked into (the extension, or a
/// test program), at most 259 units; "" when it cannot be had or is longer. Windows builds only.
CUTF16String ModulePath();

/// DirectoryOf is `path` before its last backslash, without that backslash; "" without one.
CUTF16String DirectoryOf(const CUTF16String& path);

/// The helpers below derive from a module's path, by default this module's own. An empty path
/// gives a relative result ("\..\resources"), which a later open then does not find.

/// ModuleDirectory is the module's folder, without a trailing backslash.
CUTF16String ModuleDirectory(const CUTF16String& modulePath = ModulePath());

/// ResourceDirectory is the module's folder + "\..\resources"; the ".." stays in the path.
CUTF16String ResourceDirectory(const CUTF16String& modulePath = ModulePath());

/// ResourceFile is the resource folder + "/" + `name`, a relative name.
CUTF16String ResourceFile(const CUTF16String& name, const CUTF16String& modulePath = ModulePath());

/// GraphicsArchive is the locator of the graphics: an archive path followed by "#zip:".
CUTF16String GraphicsArchive(const CUTF16String& modulePath = ModulePath());

/// TraceLibraryPath is zelLog.dll beside the module.
CUTF16String TraceLibraryPath(const CUTF16String& modulePath = ModulePath());

/// CacheServicePath is zelCacheSrv.exe beside the module.
CUTF16String CacheServicePath(const CUTF16String& modulePath = ModulePath());

/// The known folders below which the maker's products keep their files.
enum class EProductRoot { kProgramFiles, kProgramFiles64, kProgramFiles32, kRoamingAppData };

/// ProductFolder is the known folder + "\Ostrel"; where the system does not tell the folder,
/// "\Ostrel" alone. Windows builds only.
CUTF16String ProductFolder(EProductRoot root);

/// The two program-files folders of a 64-bit system; one that the system does not tell is "".
struct ProgramFilesFolders {
    CUTF16String programFiles64;
    CUTF16String programFiles32;

    /// Fetch asks the system. Windows builds only.
    static ProgramFilesFolders Fetch();
};

/// MapTo32BitInstall points a path or command line of this 64-bit module at the manager's 32-bit
/// installation: a leading 64-bit program-files folder becomes the 32-bit one (compared unit by
/// unit, case and all, also where the path's own folder name goes on behind it; an empty folder is
/// no prefix); otherwise the first "x64" becomes "win32"; otherwise the path stays as it is.
CUTF16String MapTo32BitInstall(const CUTF16String& path, const ProgramFilesFolders& folders);

/// MapTo32BitInstall with the folders given singly.
inline CUTF16String MapTo32BitInstall(const CUTF16String& path, const CUTF16String& programFiles64,
                                      const CUTF16String& programFiles32) {
    return MapTo32BitInstall(path, ProgramFilesFolders{programFiles64, programFiles32});
}

}  // namespace tarnwell
