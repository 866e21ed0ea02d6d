#pragma once

// A PKCS#7 file from the disk into OpenSSL's structure. The file is open only while it is read; its
// bytes are gone when the structure is there. The large content of a signed file is read straight
// to where the structure keeps it, so that it is in memory once. No state; any thread may call.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "common/crypto/openssl_owners.h"
#include "common/system/text/string.h"

namespace tarnwell {

/// LoadPkcs7 reads and parses the file at `path`. Null for what is no DER (or BER) of a PKCS#7
/// structure and for a file longer than 2 GiB less one byte. Throws CException for a file that
/// cannot be read, as ReadWholeFile does.
CUniquePkcs7 LoadPkcs7(const CUTF16String& path);

/// LoadPkcs7 parses what is in memory already; the bytes are not kept, and may be changed. Gives
/// none for more than four million elements, which no honest file has.
CUniquePkcs7 LoadPkcs7(std::span<unsigned char> file);

/// Where a signed file keeps its content, and the same file's beginning without it.
struct ContentPlace {
    std::size_t offset;                ///< of the first octet, in bytes from the file's start
    std::size_t length;                ///< in octets
    std::vector<unsigned char> start;  ///< all before `offset`, with lengths that count no content
};

/// FindContent looks into the beginning of a file of `fileLength` bytes. Nothing for a file of
/// another shape than signed plain data in one piece with definite lengths, and for lengths that
/// do not fit into each other.
std::optional<ContentPlace> FindContent(std::span<const unsigned char> start,
                                        std::size_t fileLength);

}  // namespace tarnwell
