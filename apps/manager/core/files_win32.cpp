#include "manager/core/files.h"

#include <vector>

#include "common/system/os/long_path.h"
#include "common/system/os/owners_win32.h"
#include "common/system/os/windows.h"

#include <sddl.h>

namespace tarnwell::manager {
namespace {

struct LocalTraits {
    using Value = HLOCAL;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { LocalFree(value); }
};
using CUniqueLocal = CUnique<LocalTraits>;

CUTF16String Openable(const std::u16string& path) {
    return OpenablePath(CUTF16String(path));
}

DWORD AttributesOf(const std::u16string& path) {
    return GetFileAttributesW(Wide(Openable(path)));
}

/// The SID of the user of this process as text; "" if the system does not tell.
std::wstring UserSid() {
    CUniqueHandle token;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.Put()))
        return {};
    DWORD size = 0;
    GetTokenInformation(token.Get(), TokenUser, nullptr, 0, &size);
    std::vector<unsigned char> buffer(size);
    if (!GetTokenInformation(token.Get(), TokenUser, buffer.data(), size, &size))
        return {};
    wchar_t* text = nullptr;
    if (!ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(buffer.data())->User.Sid, &text))
        return {};
    const CUniqueLocal owner(text);
    return text;
}

}  // namespace

bool CFiles::IsFile(const std::u16string& path) {
    const DWORD attributes = AttributesOf(path);
    return attributes != INVALID_FILE_ATTRIBUTES &&
           (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) == 0;
}

bool CFiles::IsFolder(const std::u16string& path) {
    const DWORD attributes = AttributesOf(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

Move CFiles::MoveNew(const std::u16string& from, const std::u16string& to) {
    if (MoveFileExW(Wide(Openable(from)), Wide(Openable(to)), 0))
        return Move::kMoved;
    const DWORD error = GetLastError();
    const bool taken =
        error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS ||
        (error == ERROR_ACCESS_DENIED && AttributesOf(to) != INVALID_FILE_ATTRIBUTES);
    return taken ? Move::kTaken : Move::kFailed;
}

void CFiles::Remove(const std::u16string& path) {
    const CUTF16String openable = Openable(path);
    if (!DeleteFileW(Wide(openable)))
        RemoveDirectoryW(Wide(openable));
}

bool CFiles::MakeFolders(const std::u16string& path) {
    if (path.empty() || IsFolder(path))
        return !path.empty();
    const std::size_t slash = path.find_last_of(u"\\/");
    if (slash != std::u16string_view::npos && slash > 2)
        MakeFolders(path.substr(0, slash));
    return CreateDirectoryW(Wide(Openable(path)), nullptr) || IsFolder(path);
}

bool CFiles::MakePrivateFolder(const std::u16string& path) {
    const std::wstring sid = UserSid();
    if (sid.empty())
        return false;
    // Protected: nothing is inherited from above; full access for the user and nobody else, passed
    // on to what is made inside.
    const std::wstring rules = L"D:P(A;OICI;FA;;;" + sid + L")";
    SECURITY_ATTRIBUTES security = {};
    security.nLength = sizeof(security);
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(
            rules.c_str(), SDDL_REVISION_1, &security.lpSecurityDescriptor, nullptr))
        return false;
    const CUniqueLocal owner(security.lpSecurityDescriptor);
    return CreateDirectoryW(Wide(Openable(path)), &security) != 0;
}

std::u16string Join(std::u16string_view folder, std::u16string_view name) {
    return std::u16string(folder) + u"\\" + std::u16string(name);
}

}  // namespace tarnwell::manager
