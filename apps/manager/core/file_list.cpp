#include "manager/core/file_list.h"

namespace tarnwell::manager {
namespace {

bool IsSlash(char16_t unit) {
    return unit == u'\\' || unit == u'/';
}

bool StartsWithDrive(std::u16string_view path) {
    const auto isLetter = [](char16_t unit) {
        return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
    };
    return path.size() > 3 && isLetter(path[0]) && path[1] == u':' && IsSlash(path[2]);
}

/// Windows takes what stands behind a further colon for a hidden stream of the file.
bool NamesAStream(std::u16string_view path) {
    const std::size_t drive = path.starts_with(u"\\\\?\\") ? 5 : 1;
    const std::size_t colon = path.rfind(u':');
    return colon != std::u16string_view::npos && colon != drive;
}

/// The end of the path that starts at `start`: the next comma with a full path behind it.
std::size_t EndOfPath(std::u16string_view joined, std::size_t start) {
    std::size_t comma = joined.find(u',', start);
    while (comma != std::u16string_view::npos && !IsFullPath(joined.substr(comma + 1)))
        comma = joined.find(u',', comma + 1);
    return comma == std::u16string_view::npos ? joined.size() : comma;
}

}  // namespace

bool IsFullPath(std::u16string_view path) {
    if (path.starts_with(u"\\\\?\\")) {
        path.remove_prefix(4);
        return path.starts_with(u"UNC\\") || StartsWithDrive(path);
    }
    const bool isShare = path.size() > 2 && IsSlash(path[0]) && IsSlash(path[1]) &&
                         !IsSlash(path[2]) && path[2] != u'.' && path[2] != u'?';
    return isShare || StartsWithDrive(path);
}

FileList ResolveFileList(std::u16string_view joined, const IsFile& isFile) {
    FileList list;
    for (std::size_t start = 0; start <= joined.size();) {
        const std::size_t end = EndOfPath(joined, start);
        std::u16string path(joined.substr(start, end - start));
        const bool exists = IsFullPath(path) && !NamesAStream(path) && isFile(path);
        (exists ? list.files : list.unresolved).push_back(std::move(path));
        start = end + 1;
    }
    return list;
}

}  // namespace tarnwell::manager
