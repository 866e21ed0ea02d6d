#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

#include "common/system/os/file_system.h"
#include "common/system/os/long_path.h"
#include "common/system/os/owners_win32.h"

namespace tarnwell {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// Should a path turn out to be someone's pipe, its server may not act in the user's name.
constexpr DWORD kNoImpersonation = SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;

/// One call of the system carries a DWORD of bytes, and network drives dislike large ones.
constexpr std::size_t kMaxChunk = std::size_t{16} << 20;

DWORD ChunkOf(std::size_t size) noexcept {
    return static_cast<DWORD>(std::min(size, kMaxChunk));
}

/// Has is true for a file that exists with one of `flags` among its attributes.
bool Has(DWORD attributes, DWORD flags) noexcept {
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & flags) != 0;
}

/// RightsOf is who may use the file at `path`, as a security descriptor. Empty where there is no
/// such file or it does not tell, and where nobody lets it go: a file with its rights could neither
/// be moved to its place nor be removed again.
std::vector<std::byte> RightsOf(const CUTF16String& path) {
    const CUniqueFile file(CreateFileW(Wide(OpenablePath(path)), READ_CONTROL | DELETE, kShareAll,
                                       nullptr, OPEN_EXISTING, kNoImpersonation, nullptr));
    if (!file)
        return {};
    DWORD size = 0;
    GetKernelObjectSecurity(file.Get(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    std::vector<std::byte> rights(size);
    if (!GetKernelObjectSecurity(file.Get(), DACL_SECURITY_INFORMATION, rights.data(), size, &size))
        return {};
    return rights;
}

class CWindowsFile final : public COpenFile {
public:
    explicit CWindowsFile(CUniqueFile file) noexcept : m_file(std::move(file)) {}

    std::optional<std::uint64_t> Length() const noexcept override {
        LARGE_INTEGER length = {};
        if (GetFileType(m_file.Get()) != FILE_TYPE_DISK || !GetFileSizeEx(m_file.Get(), &length) ||
            length.QuadPart < 0)
            return std::nullopt;
        return static_cast<std::uint64_t>(length.QuadPart);
    }

    std::size_t Read(std::span<unsigned char> bytes) noexcept override {
        std::size_t done = 0;
        while (done < bytes.size()) {
            DWORD count = 0;
            if (!ReadFile(m_file.Get(), bytes.data() + done, ChunkOf(bytes.size() - done), &count,
                          nullptr) ||
                count == 0)
                break;
            done += count;
        }
        return done;
    }

    bool Write(std::span<const unsigned char> bytes) noexcept override {
        while (!bytes.empty()) {
            DWORD count = 0;
            if (!WriteFile(m_file.Get(), bytes.data(), ChunkOf(bytes.size()), &count, nullptr) ||
                count == 0)
                return false;
            bytes = bytes.subspan(count);
        }
        return true;
    }

    bool Flush() noexcept override {
        if (FlushFileBuffers(m_file.Get()))
            return true;
        // Some file systems cannot flush; what they took counts as written.
        const DWORD error = GetLastError();
        return error == ERROR_INVALID_FUNCTION || error == ERROR_NOT_SUPPORTED;
    }

    bool SetLength(std::uint64_t length) noexcept override {
        if (length > static_cast<std::uint64_t>(std::numeric_limits<LONGLONG>::max()))
            return false;
        // Through the information class, which leaves the place to write at where it is.
        FILE_END_OF_FILE_INFO end = {};
        end.EndOfFile.QuadPart = static_cast<LONGLONG>(length);
        return SetFileInformationByHandle(m_file.Get(), FileEndOfFileInfo, &end, sizeof end) != 0;
    }

private:
    CUniqueFile m_file;
};

std::unique_ptr<COpenFile> Wrap(CUniqueFile file) {
    if (!file)
        return nullptr;
    return std::make_unique<CWindowsFile>(std::move(file));
}

class CWindowsFileSystem final : public CFileSystem {
public:
    std::unique_ptr<COpenFile> OpenToRead(const CUTF16String& path) override {
        return Wrap(CUniqueFile(
            CreateFileW(Wide(OpenablePath(path)), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                        FILE_FLAG_SEQUENTIAL_SCAN | kNoImpersonation, nullptr)));
    }

    std::unique_ptr<COpenFile> CreateNew(const CUTF16String& path, const CUTF16String& target,
                                         bool& taken) override {
        const CUTF16String name = OpenablePath(path);
        std::vector<std::byte> rights = RightsOf(target);
        SECURITY_ATTRIBUTES attributes = {sizeof attributes, rights.data(), FALSE};
        CUniqueFile file(CreateFileW(Wide(name), GENERIC_WRITE, kShareAll,
                                     rights.empty() ? nullptr : &attributes, CREATE_NEW,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
        const DWORD error = GetLastError();
        taken = !file && (error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS);
        return Wrap(std::move(file));
    }

    std::unique_ptr<COpenFile> OpenToWrite(const CUTF16String& path, bool& created) override {
        const CUTF16String name = OpenablePath(path);
        // Said here, because an administrator's rights may go further than the attribute.
        if (Has(GetFileAttributesW(Wide(name)), FILE_ATTRIBUTE_READONLY))
            return nullptr;
        CUniqueFile file(CreateFileW(Wide(name), GENERIC_WRITE, kShareAll, nullptr, OPEN_ALWAYS,
                                     FILE_ATTRIBUTE_NORMAL | kNoImpersonation, nullptr));
        created = file && GetLastError() != ERROR_ALREADY_EXISTS;
        // A name such as "COM1" opens a port: nobody's content is to go there.
        if (file && GetFileType(file.Get()) != FILE_TYPE_DISK)
            return nullptr;
        return Wrap(std::move(file));
    }

    bool IsReplaceable(const CUTF16String& path) override {
        // A colon behind the drive's names a stream of a file.
        const std::size_t name = path.AsView().find_last_of(u"\\/");
        const std::size_t colon = path.FindLast(u':');
        if (colon != CUTF16String::npos && colon != 1 &&
            (name == CUTF16String::npos || colon > name))
            return false;
        return !Has(GetFileAttributesW(Wide(OpenablePath(path))),
                    FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT |
                        FILE_ATTRIBUTE_DEVICE | FILE_ATTRIBUTE_READONLY);
    }

    bool Replace(const CUTF16String& from, const CUTF16String& to) override {
        return MoveFileExW(Wide(OpenablePath(from)), Wide(OpenablePath(to)),
                           MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
    }

    void Remove(const CUTF16String& path) override { DeleteFileW(Wide(OpenablePath(path))); }
};

}  // namespace

CFileSystem& CFileSystem::Native() noexcept {
    static CWindowsFileSystem system;
    return system;
}

}  // namespace tarnwell
