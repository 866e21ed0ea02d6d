#include "common/system/os/file.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <exception>
#include <utility>

#include "common/system/os/file_system.h"
#include "common/system/text/convert.h"

namespace tarnwell {
namespace {

constexpr int kNameAttempts = 16;

bool IsUsable(const CUTF16String& path) noexcept {
    return !path.IsEmpty() && path.Find(u'\0') == CUTF16String::npos;
}

/// BesideOf is a file name of its own in the folder of `path`. It needs not be hard to guess: it
/// is only ever used for a file that this process has made.
CUTF16String BesideOf(const CUTF16String& path) {
    static std::atomic<std::uint64_t> counter = 0;
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    constexpr std::uint64_t kOddStep = 0x9E3779B97F4A7C15;
    std::uint64_t number = static_cast<std::uint64_t>(now) + ++counter * kOddStep;
    number ^= number >> 32;

    const std::size_t separator = path.AsView().find_last_of(u"\\/:");
    CUTF16String name =
        separator == CUTF16String::npos ? CUTF16String() : path.Sub(0, separator + 1);
    name += u"~";
    for (int digit = 0; digit < 12; ++digit, number >>= 4)
        name.AppendUnit(u"0123456789abcdef"[number & 0xF]);
    return name + u".tmp";
}

/// Removes a file again unless it has been kept. The file's own handle has to be closed before.
class CRemoval {
public:
    CRemoval(CFileSystem& system, CUTF16String path) noexcept
        : m_system(system), m_path(std::move(path)) {}
    ~CRemoval() {
        try {
            if (!m_kept)
                m_system.Remove(m_path);
        } catch (const std::exception&) {
            // No memory to name the file: it stays, which harms no one.
        }
    }
    CRemoval(const CRemoval&) = delete;
    CRemoval& operator=(const CRemoval&) = delete;

    void Keep() noexcept { m_kept = true; }

private:
    CFileSystem& m_system;
    const CUTF16String m_path;
    bool m_kept = false;
};

bool WriteBeside(CFileSystem& system, const CUTF16String& target,
                 std::span<const unsigned char> bytes) {
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        const CUTF16String name = BesideOf(target);
        bool taken = false;
        std::unique_ptr<COpenFile> file = system.CreateNew(name, target, taken);
        if (!file) {
            if (taken)
                continue;
            return false;
        }
        CRemoval removal(system, name);
        const bool written = file->Write(bytes) && file->Flush();
        file.reset();
        if (!written || !system.Replace(name, target))
            return false;
        removal.Keep();
        return true;
    }
    return false;
}

/// WriteOver writes the target itself. Its room is secured before a byte of it changes, so that a
/// full disk leaves the old content.
bool WriteOver(CFileSystem& system, const CUTF16String& path,
               std::span<const unsigned char> bytes) {
    bool created = false;
    std::unique_ptr<COpenFile> file = system.OpenToWrite(path, created);
    if (!file)
        return false;
    const std::optional<std::uint64_t> length = file->Length();
    if (!length)
        return file->Write(bytes);
    const bool fits = bytes.size() <= *length;
    const bool written = (fits || file->SetLength(bytes.size())) && file->Write(bytes);
    if (!written && !fits)
        file->SetLength(*length);
    const bool done = written && file->SetLength(bytes.size()) && file->Flush();
    file.reset();
    if (!done && created)
        system.Remove(path);
    return done;
}

}  // namespace

CFileBytes::CFileBytes(std::size_t size)
    : m_bytes(std::make_unique_for_overwrite<unsigned char[]>(size)), m_size(size) {}

CFileBytes::CFileBytes(CFileBytes&& other) noexcept
    : m_bytes(std::move(other.m_bytes)), m_size(std::exchange(other.m_size, 0)) {}

CFileBytes& CFileBytes::operator=(CFileBytes&& other) noexcept {
    m_bytes = std::move(other.m_bytes);
    m_size = std::exchange(other.m_size, 0);
    return *this;
}

void CFileBytes::Reset() noexcept {
    m_bytes.reset();
    m_size = 0;
}

WholeFile OpenWholeFile(CFileSystem& system, const CUTF16String& path, std::uint64_t limit) {
    std::unique_ptr<COpenFile> file = IsUsable(path) ? system.OpenToRead(path) : nullptr;
    if (!file)
        throw CException(CISOString("reading '") + Utf8FromUtf16(path) + "' failed!");
    const std::optional<std::uint64_t> length = file->Length();
    if (!length)
        throw CException(CISOString("stream.tellg failed on file: ") + Utf8FromUtf16(path));
    if (*length > std::min<std::uint64_t>(limit, SIZE_MAX))
        throw EFileTooLarge(CISOString("reading '") + Utf8FromUtf16(path) +
                            "' failed: it is longer than " + FromNumber(limit) + " bytes");
    return {std::move(file), static_cast<std::size_t>(*length)};
}

void ReadPiece(COpenFile& file, std::span<unsigned char> bytes) noexcept {
    const std::size_t read = file.Read(bytes);
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(read), bytes.end(),
              static_cast<unsigned char>(0));
}

CFileBytes ReadWholeFile(CFileSystem& system, const CUTF16String& path, std::uint64_t limit) {
    const WholeFile opened = OpenWholeFile(system, path, limit);
    CFileBytes bytes(opened.length);
    ReadPiece(*opened.file, {bytes.Data(), bytes.Size()});
    return bytes;
}

CFileBytes ReadWholeFile(const CUTF16String& path, std::uint64_t limit) {
    return ReadWholeFile(CFileSystem::Native(), path, limit);
}

bool WriteWholeFile(CFileSystem& system, const CUTF16String& path,
                    std::span<const unsigned char> bytes) {
    if (!IsUsable(path))
        return false;
    return (system.IsReplaceable(path) && WriteBeside(system, path, bytes)) ||
           WriteOver(system, path, bytes);
}

bool WriteWholeFile(const CUTF16String& path, std::span<const unsigned char> bytes) {
    return WriteWholeFile(CFileSystem::Native(), path, bytes);
}

}  // namespace tarnwell
