#pragma once

// What p7tool tells about one file.

#include <string>

#include "common/system/text/string.h"

namespace tarnwell::p7tool {

struct FileInfo {
    std::string json;      ///< one object, without a line end
    bool readable = true;  ///< false: the object tells why not
};

/// DescribeFile reads the file at `path`; a file that cannot be read is described as such.
FileInfo DescribeFile(const CUTF16String& path);

}  // namespace tarnwell::p7tool
