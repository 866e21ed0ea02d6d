#pragma once

// What most tests of the extension use: files of the corpus, a folder, an ear for the trace, owners
// of COM objects.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "common/system/text/convert.h"
#include "support/temp_folder.h"
#include "support/test_paths.h"
#include "support/trace_listener.h"
#include "tarnwell/win32/com_object.h"

namespace tarnwell::test {

using Microsoft::WRL::ComPtr;
using Strings = std::vector<std::string>;

}  // namespace tarnwell::test
