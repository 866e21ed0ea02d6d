#pragma once

// What doctor looks at: the installation that the registry names, and the folders that the
// extension would find its files from. Only reads; one thread.

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "common/system/os/install_paths.h"
#include "common/system/os/windows.h"

namespace tarnwell::shellprobe {

struct Installation {
    /// The DLL's path as the machine's first class that has one names it; empty without any. What
    /// a user registered is never followed: an administrator who asks would run that user's files.
    CUTF16String modulePath;
    ProgramFilesFolders folders;
    std::chrono::seconds patience;  ///< with the manager, for each thing it is asked

    /// Find reads the registry.
    static Installation Find(std::chrono::seconds patience);
};

/// ClassModule gives the path that the machine has registered for a class identifier; nothing where
/// there is none.
std::optional<CUTF16String> ClassModule(std::u16string_view classId);

/// HasUsersClass tells whether this user has a class of that identifier of their own. It goes
/// before the machine's in most programs, and needs no administrator to put it there.
bool HasUsersClass(std::u16string_view classId);

/// FileExists tells whether a file, not a folder, is there.
bool FileExists(const CUTF16String& path);

/// Shown gives a path or text as the report shows it.
std::string Shown(std::u16string_view text);

/// ErrorText gives a Windows error as "error 193".
std::string ErrorText(DWORD error);

}  // namespace tarnwell::shellprobe
