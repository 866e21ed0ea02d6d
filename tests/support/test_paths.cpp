#include "support/test_paths.h"

namespace tarnwell::test {

std::string TestDataPath(const std::string& name) {
    return std::string(TARNWELL_SOURCE_FOLDER) + "/tests/data/" + name;
}

}  // namespace tarnwell::test
