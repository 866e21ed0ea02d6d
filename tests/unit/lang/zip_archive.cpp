#include "zip_archive.h"

#include <miniz.h>

#include <cstdint>
#include <stdexcept>

namespace tarnwell::test {
namespace {

// Offsets of the unpacked size in a local header and in a directory entry of a zip file (PKWARE's
// APPNOTE, 4.3.7 and 4.3.12).
constexpr std::size_t kLocalSize = 22;
constexpr std::size_t kDirectorySize = 24;

void Put(std::string& bytes, std::size_t offset, std::uint32_t value) {
    for (int i = 0; i < 4; ++i, value >>= 8)
        bytes.at(offset++) = static_cast<char>(value & 0xFF);
}

}  // namespace

std::string Zip(std::initializer_list<std::pair<std::string, std::string>> entries) {
    mz_zip_archive zip = {};
    void* block = nullptr;
    std::size_t size = 0;
    bool made = mz_zip_writer_init_heap(&zip, 0, 0);
    for (const auto& [name, content] : entries)
        made = made && mz_zip_writer_add_mem(&zip, name.c_str(), content.data(), content.size(),
                                             MZ_DEFAULT_COMPRESSION);
    made = made && mz_zip_writer_finalize_heap_archive(&zip, &block, &size);
    std::string archive = made ? std::string(static_cast<const char*>(block), size) : "";
    mz_free(block);
    mz_zip_writer_end(&zip);
    if (!made)
        throw std::runtime_error("cannot make the test's archive");
    return archive;
}

std::string WithClaimedSize(std::string archive, std::uint32_t size) {
    const std::size_t directory = archive.find("PK\1\2");
    if (!archive.starts_with("PK\3\4") || directory == std::string::npos)
        throw std::runtime_error("no zip file");
    Put(archive, kLocalSize, size);
    Put(archive, directory + kDirectorySize, size);
    return archive;
}

}  // namespace tarnwell::test
