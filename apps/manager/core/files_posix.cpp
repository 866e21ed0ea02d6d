#include "manager/core/files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace tarnwell::manager {

namespace fs = std::filesystem;

bool CFiles::IsFile(const std::u16string& path) {
    std::error_code ignored;
    return fs::is_regular_file(fs::path(path), ignored);
}

bool CFiles::IsFolder(const std::u16string& path) {
    std::error_code ignored;
    return fs::is_directory(fs::path(path), ignored);
}

Move CFiles::MoveNew(const std::u16string& from, const std::u16string& to) {
    if (renameat2(AT_FDCWD, fs::path(from).c_str(), AT_FDCWD, fs::path(to).c_str(),
                  RENAME_NOREPLACE) == 0)
        return Move::kMoved;
    return errno == EEXIST ? Move::kTaken : Move::kFailed;
}

void CFiles::Remove(const std::u16string& path) {
    std::error_code ignored;
    fs::remove(fs::path(path), ignored);
}

bool CFiles::MakeFolders(const std::u16string& path) {
    std::error_code ignored;
    fs::create_directories(fs::path(path), ignored);
    return IsFolder(path);
}

bool CFiles::MakePrivateFolder(const std::u16string& path) {
    return mkdir(fs::path(path).c_str(), S_IRWXU) == 0;
}

std::u16string Join(std::u16string_view folder, std::u16string_view name) {
    return std::u16string(folder) + u"/" + std::u16string(name);
}

}  // namespace tarnwell::manager
