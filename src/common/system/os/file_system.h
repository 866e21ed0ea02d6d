#pragma once

// What reading and writing whole files asks of the system: a narrow seam, so that a test can make
// any step fail. Native() is the real one; it keeps no state and any thread may call it.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "common/system/os/file.h"
#include "common/system/text/string.h"

namespace tarnwell {

/// An open file, read or written from its start on; closed by its destructor.
class COpenFile {
public:
    virtual ~COpenFile() = default;

    /// Length in bytes; nothing for what has none (a pipe, a device).
    virtual std::optional<std::uint64_t> Length() const noexcept = 0;
    /// Read fills `bytes` and returns how many; fewer at the end of the file or after an error.
    virtual std::size_t Read(std::span<unsigned char> bytes) noexcept = 0;
    /// Write is true when all of `bytes` was taken.
    virtual bool Write(std::span<const unsigned char> bytes) noexcept = 0;
    /// Flush is true when what was written has reached the disk.
    virtual bool Flush() noexcept = 0;
    /// SetLength cuts the file or makes it longer, the room for it secured.
    virtual bool SetLength(std::uint64_t length) noexcept = 0;
};

/// Paths are never empty and hold no zero unit; null stands for every failure to open.
class CFileSystem {
public:
    virtual ~CFileSystem() = default;

    virtual std::unique_ptr<COpenFile> OpenToRead(const CUTF16String& path) = 0;

    /// CreateNew makes a file that is not there yet, for the same users as `target` if that exists;
    /// `taken` says whether something of that name was there.
    virtual std::unique_ptr<COpenFile> CreateNew(const CUTF16String& path,
                                                 const CUTF16String& target, bool& taken) = 0;

    /// OpenToWrite opens a file as it is, made if need be: then `created` is true.
    virtual std::unique_ptr<COpenFile> OpenToWrite(const CUTF16String& path, bool& created) = 0;

    /// IsReplaceable is true for an ordinary file and for nothing at all; a link, a device, a
    /// folder, a read-only file or a part of a file is not to be replaced by another file.
    virtual bool IsReplaceable(const CUTF16String& path) = 0;

    /// Replace puts the file `from` at `to`, in the place of an existing file.
    virtual bool Replace(const CUTF16String& from, const CUTF16String& to) = 0;

    virtual void Remove(const CUTF16String& path) = 0;

    static CFileSystem& Native() noexcept;
};

/// A file that is about to be read to its end, and its length in bytes.
struct WholeFile {
    std::unique_ptr<COpenFile> file;
    std::size_t length;
};

/// OpenWholeFile opens as ReadWholeFile does, with the same exceptions, for a reader that wants
/// the pieces of the file in different places.
WholeFile OpenWholeFile(CFileSystem& system, const CUTF16String& path, std::uint64_t limit);

/// ReadPiece fills `bytes` with what comes next in the file; what cannot be read is zero.
void ReadPiece(COpenFile& file, std::span<unsigned char> bytes) noexcept;

/// The functions of file.h over a file system of the caller's.
CFileBytes ReadWholeFile(CFileSystem& system, const CUTF16String& path, std::uint64_t limit);
bool WriteWholeFile(CFileSystem& system, const CUTF16String& path,
                    std::span<const unsigned char> bytes);

}  // namespace tarnwell
