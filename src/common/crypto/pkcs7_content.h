#pragma once

// The content in a parsed PKCS#7 structure, opened for reading with the care that files from
// strangers need. What is opened reads from the structure's own octets, so it must not outlive
// it. Called by the container, and by who reads what Build_recover opens; belongs to its thread.

#include <array>
#include <cstddef>
#include <optional>

#include "common/crypto/openssl_owners.h"

namespace tarnwell {

/// EnclosedOctets gives the octets that the structure encloses in clear: of type data, and of
/// signed or digested data that holds an OCTET STRING. Null where there are none (detached,
/// encrypted, another shape). They stay the structure's.
const ASN1_OCTET_STRING* EnclosedOctets(PKCS7* p7) noexcept;

/// ContentSizeHint gives the number of octets, in clear or encrypted, that the structure holds as
/// content: never less than what can be read from it.
std::size_t ContentSizeHint(PKCS7* p7) noexcept;

/// OpenClearContent opens what is not encrypted, with a digest for each of the signers' digest
/// algorithms on the way. A detached signature gives an empty content. Null where there is nothing
/// to open, an algorithm is unknown, or there are more than 64 different ones.
CUniqueBio OpenClearContent(PKCS7* p7);

/// OpenEncryptedContent opens an enveloped content, digests included, with the recipient's
/// certificate and key (both borrowed; without a certificate the key is tried on every recipient).
/// Null where that fails, also for a structure without recipients and for a key that is not the
/// certificate's. A damaged content is noticed at its end only: see DecryptedWell.
CUniqueBio OpenEncryptedContent(PKCS7* p7, X509* certificate, EVP_PKEY* key);

/// ReadContent reads `content` to its end in small pieces and hands each to `sink(bytes, count)`.
/// A null content has no pieces.
template <class Sink>
void ReadContent(BIO* content, Sink&& sink) {
    unsigned char piece[512];
    if (!content)
        return;
    for (int count; (count = BIO_read(content, piece, sizeof piece)) > 0;)
        sink(piece, static_cast<std::size_t>(count));
}

/// Sha256OnTheWay gives the SHA-256 of what was read from `content` so far, if one of its digests
/// is that one.
std::optional<std::array<unsigned char, 32>> Sha256OnTheWay(BIO* content) noexcept;

/// DecryptedWell tells, once `content` is read to its end, whether the decryption came out even;
/// true for a content that was not encrypted.
bool DecryptedWell(BIO* content) noexcept;

}  // namespace tarnwell
