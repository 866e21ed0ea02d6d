#pragma once

// Signing times without seconds ("2401020304Z"). X.680 allows them and old signers wrote them, but
// OpenSSL refuses to parse a whole file for one. They are hidden from it as plain text of the same
// length and put back into the parsed structure, so that the file reads, and its signatures
// verify, as it was written. Called by the container; no state.

#include <cstddef>
#include <span>

#include <openssl/pkcs7.h>

namespace tarnwell {

/// HideShortTimes changes the tag of each signing time without seconds in the encoded file and
/// returns how many there were.
std::size_t HideShortTimes(std::span<unsigned char> file) noexcept;

/// RestoreShortTimes turns the hidden signing times of the parsed file into times again. False if
/// it does not come upon exactly `hidden` of them: then something else was taken for one (octets
/// of the content, say), and the structure must not be used.
bool RestoreShortTimes(PKCS7* p7, std::size_t hidden) noexcept;

}  // namespace tarnwell
