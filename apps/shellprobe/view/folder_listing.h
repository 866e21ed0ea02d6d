#pragma once

// The files of a folder, and how their facts are written for people. Any thread may call.

#include <cstdint>
#include <string>
#include <vector>

namespace tarnwell::shellprobe {

struct FolderFile {
    std::wstring name;           ///< without its folder
    std::uint64_t size = 0;      ///< bytes
    std::uint64_t modified = 0;  ///< as in a FILETIME

    bool operator==(const FolderFile&) const = default;
};

/// ComesBefore is the order that people expect of names: case does not count, numbers count as
/// numbers. Of names that differ only so, the units decide, so that no two names are equal.
bool ComesBefore(const std::wstring& left, const std::wstring& right);

/// ListFolder gives the files of `folder` (ended by a backslash) that are neither folders nor
/// hidden, ordered by ComesBefore. Empty where the folder cannot be read.
std::vector<FolderFile> ListFolder(const std::wstring& folder);

/// SizeText gives kilobytes, rounded up, in the user's own spelling.
std::wstring SizeText(std::uint64_t bytes);

/// TimeText gives date and time in the user's own spelling and time zone; empty where Windows
/// knows none.
std::wstring TimeText(std::uint64_t modified);

}  // namespace tarnwell::shellprobe
