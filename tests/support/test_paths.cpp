#include "support/test_paths.h"

#include "support/temp_folder.h"

namespace tarnwell::test {

std::string TestDataPath(const std::string& name) {
    return std::string(TARNWELL_SOURCE_FOLDER) + "/tests/data/" + name;
}

std::filesystem::path Sample(const std::string& name) {
    return TestDataPath("corpus/" + name);
}

std::string SampleBytes(const std::string& name) {
    return ReadBytes(Sample(name));
}

}  // namespace tarnwell::test
