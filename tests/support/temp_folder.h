#pragma once

// A folder of a test's own under the system's temporary folder (Unix and Wine alike), removed
// with all it holds when the owner dies. Its name holds a blank, as users' folders do.

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "common/system/text/string.h"

namespace tarnwell::test {

class CTempFolder {
public:
    CTempFolder();
    ~CTempFolder();
    CTempFolder(const CTempFolder&) = delete;
    CTempFolder& operator=(const CTempFolder&) = delete;

    const std::filesystem::path& Path() const noexcept { return m_path; }

    /// operator/ gives the path of `name` (UTF-8) in the folder; nothing is made.
    std::filesystem::path operator/(std::string_view name) const;

    /// Write makes the file `name` (UTF-8, folders in between are made) with exactly `bytes`.
    std::filesystem::path Write(std::string_view name, std::string_view bytes) const;

    /// WriteZeros makes such a file of `size` zero bytes, which take no room on most disks.
    /// (mingw's std::filesystem::resize_file asks for the disk's volumes first, and crashes where
    /// Wine's mount manager did not start in time.)
    std::filesystem::path WriteZeros(std::string_view name, std::uint64_t size) const;

private:
    std::filesystem::path WriteAt(std::string_view name, std::uint64_t offset,
                                  std::string_view bytes) const;

    std::filesystem::path m_path;
};

/// ReadBytes gives the whole file as bytes. Throws std::runtime_error if it cannot be read.
std::string ReadBytes(const std::filesystem::path& path);

/// BytesOf shows a text as the code under test takes the bytes of a file.
inline std::span<const unsigned char> BytesOf(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

/// Utf16 gives the path as the code under test takes it, in the system's own spelling.
CUTF16String Utf16(const std::filesystem::path& path);

}  // namespace tarnwell::test
