#include "shellprobe/view/folder_listing.h"

#include <algorithm>
#include <array>

#include "common/system/os/owners_win32.h"
// Windows last.
#include <shlwapi.h>

namespace tarnwell::shellprobe {
namespace {

struct FindTraits {
    using Value = HANDLE;
    static Value Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) noexcept { FindClose(value); }
};

std::uint64_t Joined(DWORD high, DWORD low) {
    return std::uint64_t{high} << 32 | low;
}

}  // namespace

bool ComesBefore(const std::wstring& left, const std::wstring& right) {
    const int order = StrCmpLogicalW(left.c_str(), right.c_str());
    return order != 0 ? order < 0 : left < right;
}

std::vector<FolderFile> ListFolder(const std::wstring& folder) {
    constexpr DWORD kNotShown = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN;
    WIN32_FIND_DATAW found = {};
    const CUnique<FindTraits> search(FindFirstFileW((folder + L'*').c_str(), &found));
    std::vector<FolderFile> files;
    if (!search)
        return files;
    do {
        if ((found.dwFileAttributes & kNotShown) == 0)
            files.push_back({found.cFileName, Joined(found.nFileSizeHigh, found.nFileSizeLow),
                             Joined(found.ftLastWriteTime.dwHighDateTime,
                                    found.ftLastWriteTime.dwLowDateTime)});
    } while (FindNextFileW(search.Get(), &found));
    std::ranges::sort(files, ComesBefore, &FolderFile::name);
    return files;
}

std::wstring SizeText(std::uint64_t bytes) {
    std::array<wchar_t, 64> text = {};
    StrFormatKBSizeW(static_cast<LONGLONG>(bytes), text.data(), static_cast<UINT>(text.size()));
    return text.data();
}

std::wstring TimeText(std::uint64_t modified) {
    const FILETIME time = {static_cast<DWORD>(modified), static_cast<DWORD>(modified >> 32)};
    SYSTEMTIME universal = {};
    SYSTEMTIME local = {};
    std::array<wchar_t, 80> date = {};
    std::array<wchar_t, 80> clock = {};
    if (!FileTimeToSystemTime(&time, &universal) ||
        !SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local))
        return {};
    GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, DATE_SHORTDATE, &local, nullptr, date.data(),
                    static_cast<int>(date.size()), nullptr);
    GetTimeFormatEx(LOCALE_NAME_USER_DEFAULT, TIME_NOSECONDS, &local, nullptr, clock.data(),
                    static_cast<int>(clock.size()));
    return std::wstring(date.data()) + L' ' + clock.data();
}

}  // namespace tarnwell::shellprobe
