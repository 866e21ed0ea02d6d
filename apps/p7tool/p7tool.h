#pragma once

// The container's command-line face: reads and builds PKCS#7 files for people, scripts and tests.

#include <cstdio>
#include <vector>

#include "common/system/text/string.h"

namespace tarnwell::p7tool {

inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kWrongUsage = 2;

/// Run does what the arguments (without the program's name) ask for and returns the exit status.
/// Results go to `out`, one JSON object a line, everything said to people to `err`; both UTF-8.
int Run(const std::vector<CUTF16String>& arguments, std::FILE* out, std::FILE* err);

}  // namespace tarnwell::p7tool
