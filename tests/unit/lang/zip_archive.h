#pragma once

// Makes resource archives for tests.

#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>

namespace tarnwell::test {

/// Zip gives the bytes of a zip file with `entries` (name, content), packed.
std::string Zip(std::initializer_list<std::pair<std::string, std::string>> entries);

/// WithClaimedSize gives the archive with `size` as the unpacked size of its only entry, in the
/// entry's own header and in the directory.
std::string WithClaimedSize(std::string archive, std::uint32_t size);

}  // namespace tarnwell::test
