#pragma once

// Takes the request's comma-joined file list apart. Names may hold commas, and nothing in the list
// marks them; but no Windows name holds a colon or a backslash, so a comma separates exactly where
// a full path follows it. The file system has the last word: every path must exist. Pure; the
// file system is handed in.

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwell::manager {

/// Whether a full path names an existing file (not a folder).
using IsFile = std::function<bool(const std::u16string&)>;

struct FileList {
    /// The paths in the list's order.
    std::vector<std::u16string> files;
    /// The parts that are not existing files. Where there is any, nothing of the list should be
    /// done: it was not understood, or it is not what the user selected any more.
    std::vector<std::u16string> unresolved;
};

/// IsFullPath tells whether `path` starts with a drive and a backslash ("C:\") or names a share
/// ("\\server\"), plainly or in the extended form ("\\?\C:\", "\\?\UNC\"). Devices ("\\.\") are
/// none. "/" counts as "\".
bool IsFullPath(std::u16string_view path);

/// ResolveFileList looks at each file once: linear in the length of the list.
FileList ResolveFileList(std::u16string_view joined, const IsFile& isFile);

}  // namespace tarnwell::manager
