#include <iterator>

#include "common/system/os/install_paths.h"
#include "common/system/os/long_path.h"
#include "common/system/os/owners_win32.h"

// knownfolders.h needs windows.h before it.
#include <knownfolders.h>
#include <objbase.h>
#include <shlobj.h>

/// The linker's name for the start of the module that this code ends up in: its own handle.
extern "C" IMAGE_DOS_HEADER __ImageBase;  // NOLINT(bugprone-reserved-identifier)

namespace tarnwell {
namespace {

/// KnownFolder is a folder's path without a trailing backslash; "" where the system has none.
CUTF16String KnownFolder(const KNOWNFOLDERID& id) {
    CUniqueTaskMemory<wchar_t> path;
    // The memory has to be given back after a failure too.
    if (FAILED(SHGetKnownFolderPath(id, 0, nullptr, path.Put())) || !path)
        return {};
    return CUTF16String(Units(path.Get()));
}

const KNOWNFOLDERID& IdOf(EProductRoot root) noexcept {
    switch (root) {
        case EProductRoot::kProgramFiles64:
            return FOLDERID_ProgramFilesX64;
        case EProductRoot::kProgramFiles32:
            return FOLDERID_ProgramFilesX86;
        case EProductRoot::kRoamingAppData:
            return FOLDERID_RoamingAppData;
        case EProductRoot::kProgramFiles:
            break;
    }
    return FOLDERID_ProgramFiles;
}

}  // namespace

CUTF16String ModulePath() {
    wchar_t units[kMaxClassicPath];
    const DWORD length = GetModuleFileNameW(reinterpret_cast<HMODULE>(&__ImageBase), units,
                                            static_cast<DWORD>(std::size(units)));
    // A path that fills the buffer has been cut: it names some other file.
    if (length == 0 || length >= std::size(units))
        return {};
    return CUTF16String(Units(units), length);
}

CUTF16String ProductFolder(EProductRoot root) {
    return KnownFolder(IdOf(root)) + u"\\Ostrel";
}

ProgramFilesFolders ProgramFilesFolders::Fetch() {
    return {KnownFolder(FOLDERID_ProgramFilesX64), KnownFolder(FOLDERID_ProgramFilesX86)};
}

}  // namespace tarnwell
