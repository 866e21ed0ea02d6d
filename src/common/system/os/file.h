#pragma once

// Whole files: read into one buffer of their own, written so that an existing file is never left
// half-written. Files are opened shared and closed before anything is returned, and are never
// mapped: a lost network drive would raise in the explorer, and a mapped file stays locked.
// Any thread may call.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "common/system/text/exception.h"
#include "common/system/text/string.h"

namespace tarnwell {

/// The bytes of a file, owned, on the ordinary heap. Moving leaves the source empty.
class CFileBytes {
public:
    CFileBytes() noexcept = default;
    /// Holds `size` bytes whose values are not set. Throws std::bad_alloc.
    explicit CFileBytes(std::size_t size);
    CFileBytes(CFileBytes&& other) noexcept;
    CFileBytes& operator=(CFileBytes&& other) noexcept;

    const unsigned char* Data() const noexcept { return m_bytes.get(); }
    unsigned char* Data() noexcept { return m_bytes.get(); }
    std::size_t Size() const noexcept { return m_size; }
    bool IsEmpty() const noexcept { return m_size == 0; }
    std::span<const unsigned char> AsSpan() const noexcept { return {Data(), m_size}; }
    operator std::span<const unsigned char>() const noexcept { return AsSpan(); }

    /// Reset gives the memory back now.
    void Reset() noexcept;

private:
    std::unique_ptr<unsigned char[]> m_bytes;
    std::size_t m_size = 0;
};

/// The file is longer than its reader allows.
class EFileTooLarge : public CException {
public:
    using CException::CException;
};

/// ReadWholeFile opens `path` shared (others may read, write, rename and delete it), takes its
/// length, reads that many bytes and closes it. Bytes that cannot be read stay zero: the result
/// of the reading itself is not looked at. On Windows a path of 260 units and more is opened
/// through its "\\?\" form, a relative one or one with slashes included.
/// Throws CException "reading '<path>' failed!" where the file cannot be opened (a folder too) or
/// the path holds a zero unit, "stream.tellg failed on file: <path>" where it has no length
/// (pipes, devices), EFileTooLarge where it is longer than `limit` bytes; std::bad_alloc.
CFileBytes ReadWholeFile(const CUTF16String& path, std::uint64_t limit);

/// WriteWholeFile makes the file at `path` hold exactly `bytes`: it writes a new file beside it
/// (of a name of its own, in the same folder), flushes it and puts it in the place of an existing
/// one. Where the folder takes no new file or the target cannot be replaced (held open without
/// sharing deletion, a link, a device), the target itself is written, its room secured first.
/// True when everything is written; after false an existing file has its old content and no other
/// file is left. Paths as for ReadWholeFile.
bool WriteWholeFile(const CUTF16String& path, std::span<const unsigned char> bytes);

}  // namespace tarnwell
