#pragma once

// The log's file. Managers that run at the same time append to it line by line; each line is one
// write to its end. Belongs to one thread.

#include <string>
#include <string_view>

#include "common/system/os/owners_win32.h"

namespace tarnwell::manager {

class CLogFile {
public:
    /// Opens the file for appending, making it where it is not there. A file that has grown beyond
    /// 1 MiB becomes "<name>.old" first. Without a file, lines are dropped: the work matters more.
    explicit CLogFile(const std::u16string& path);

    void Write(std::string_view line);

private:
    CUniqueFile m_file;
};

}  // namespace tarnwell::manager
