#include "support/temp_folder.h"

#include <fstream>
#include <random>
#include <stdexcept>

namespace tarnwell::test {

CTempFolder::CTempFolder() {
    std::random_device random;
    do {
        m_path =
            std::filesystem::temp_directory_path() / ("tarnwell test " + std::to_string(random()));
    } while (!std::filesystem::create_directory(m_path));
}

CTempFolder::~CTempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::filesystem::path CTempFolder::operator/(std::string_view name) const {
    return m_path / std::u8string(name.begin(), name.end());
}

std::filesystem::path CTempFolder::Write(std::string_view name, std::string_view bytes) const {
    return WriteAt(name, 0, bytes);
}

std::filesystem::path CTempFolder::WriteZeros(std::string_view name, std::uint64_t size) const {
    const char last = '\0';
    return size == 0 ? Write(name, "") : WriteAt(name, size - 1, {&last, 1});
}

std::filesystem::path CTempFolder::WriteAt(std::string_view name, std::uint64_t offset,
                                           std::string_view bytes) const {
    std::filesystem::path path = *this / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.seekp(static_cast<std::streamoff>(offset));
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + path.string());
    return path;
}

std::string ReadBytes(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::string bytes(std::istreambuf_iterator<char>(file), {});
    if (!file.is_open())
        throw std::runtime_error("cannot read " + path.string());
    return bytes;
}

CUTF16String Utf16(const std::filesystem::path& path) {
    return CUTF16String(path.u16string());
}

}  // namespace tarnwell::test
