#pragma once

// Where a test finds the files of the checkout. Under Wine the paths start with "Z:".

#include <filesystem>
#include <string>

namespace tarnwell::test {

// TestDataPath gives the path of a file in tests/data, with forward slashes.
std::string TestDataPath(const std::string& name);

// Sample is the path of a file of the corpus, SampleBytes are its bytes.
std::filesystem::path Sample(const std::string& name);
std::string SampleBytes(const std::string& name);

}  // namespace tarnwell::test
