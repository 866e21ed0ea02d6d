#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>

#include <algorithm>
#include <cstdio>
#include <limits>

#include "common/system/os/file_system.h"
#include "common/system/os/unique.h"
#include "common/system/text/convert.h"

namespace tarnwell {
namespace {

struct DescriptorTraits {
    using Value = int;
    static Value Invalid() noexcept { return -1; }
    static void Close(Value value) noexcept { close(value); }
};
using CUniqueDescriptor = CUnique<DescriptorTraits>;

/// What one read or write call of Linux carries at most; larger ones are cut anyway.
constexpr std::size_t kMaxChunk = std::size_t{1} << 30;

constexpr mode_t kDefaultMode = 0666;

class CPosixFile final : public COpenFile {
public:
    explicit CPosixFile(CUniqueDescriptor file) noexcept : m_file(std::move(file)) {}

    std::optional<std::uint64_t> Length() const noexcept override {
        struct stat status = {};
        if (fstat(m_file.Get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size < 0)
            return std::nullopt;
        return static_cast<std::uint64_t>(status.st_size);
    }

    std::size_t Read(std::span<unsigned char> bytes) noexcept override {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t count =
                read(m_file.Get(), bytes.data() + done, std::min(bytes.size() - done, kMaxChunk));
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                break;
            done += static_cast<std::size_t>(count);
        }
        return done;
    }

    bool Write(std::span<const unsigned char> bytes) noexcept override {
        while (!bytes.empty()) {
            const ssize_t count =
                write(m_file.Get(), bytes.data(), std::min(bytes.size(), kMaxChunk));
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                return false;
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        }
        return true;
    }

    bool Flush() noexcept override {
        // Some file systems cannot flush; what they took counts as written.
        return fsync(m_file.Get()) == 0 || errno == EINVAL || errno == ENOTSUP || errno == ENOSYS;
    }

    bool SetLength(std::uint64_t length) noexcept override {
        if (length > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max()))
            return false;
        const auto end = static_cast<off_t>(length);
        const std::optional<std::uint64_t> old = Length();
        if (old && length > *old)
            return posix_fallocate(m_file.Get(), 0, end) == 0;
        return ftruncate(m_file.Get(), end) == 0;
    }

private:
    CUniqueDescriptor m_file;
};

/// Open never waits for the other end of a pipe, and passes nothing on to child processes.
CUniqueDescriptor Open(const CISOString& path, int flags, mode_t mode = kDefaultMode) {
    CUniqueDescriptor file(open(path.CStr(), flags | O_CLOEXEC | O_NONBLOCK, mode));
    if (file)
        fcntl(file.Get(), F_SETFL, fcntl(file.Get(), F_GETFL) & ~O_NONBLOCK);
    return file;
}

std::unique_ptr<COpenFile> Wrap(CUniqueDescriptor file) {
    if (!file)
        return nullptr;
    return std::make_unique<CPosixFile>(std::move(file));
}

class CPosixFileSystem final : public CFileSystem {
public:
    std::unique_ptr<COpenFile> OpenToRead(const CUTF16String& path) override {
        CUniqueDescriptor file = Open(Utf8FromUtf16(path), O_RDONLY);
        struct stat status = {};
        if (!file || (fstat(file.Get(), &status) == 0 && S_ISDIR(status.st_mode)))
            return nullptr;
        return Wrap(std::move(file));
    }

    std::unique_ptr<COpenFile> CreateNew(const CUTF16String& path, const CUTF16String& target,
                                         bool& taken) override {
        struct stat status = {};
        const bool exists = stat(Utf8FromUtf16(target).CStr(), &status) == 0;
        const mode_t mode = exists ? status.st_mode & 0777 : kDefaultMode;
        const CISOString name = Utf8FromUtf16(path);
        CUniqueDescriptor file = Open(name, O_WRONLY | O_CREAT | O_EXCL, mode);
        taken = !file && errno == EEXIST;
        // The process's mask may have kept a right back that the target has; so be it where the
        // file system knows no rights.
        if (file && exists)
            static_cast<void>(fchmod(file.Get(), mode));
        return Wrap(std::move(file));
    }

    std::unique_ptr<COpenFile> OpenToWrite(const CUTF16String& path, bool& created) override {
        const CISOString name = Utf8FromUtf16(path);
        CUniqueDescriptor file = Open(name, O_WRONLY | O_CREAT | O_EXCL);
        created = static_cast<bool>(file);
        if (!file)
            file = Open(name, O_WRONLY);
        return Wrap(std::move(file));
    }

    bool IsReplaceable(const CUTF16String& path) override {
        struct stat status = {};
        const CISOString name = Utf8FromUtf16(path);
        if (lstat(name.CStr(), &status) != 0)
            return errno == ENOENT;
        return S_ISREG(status.st_mode);
    }

    bool Replace(const CUTF16String& from, const CUTF16String& to) override {
        const CISOString target = Utf8FromUtf16(to);
        // rename asks only for rights on the folder; a read-only file is to stay.
        if (access(target.CStr(), F_OK) == 0 && access(target.CStr(), W_OK) != 0)
            return false;
        return rename(Utf8FromUtf16(from).CStr(), target.CStr()) == 0;
    }

    void Remove(const CUTF16String& path) override { unlink(Utf8FromUtf16(path).CStr()); }
};

}  // namespace

CFileSystem& CFileSystem::Native() noexcept {
    static CPosixFileSystem system;
    return system;
}

}  // namespace tarnwell
