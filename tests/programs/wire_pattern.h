#pragma once

// What the programs that tests talk to send and tell: a body that both sides can make for
// themselves, and the digest of what has come.

#include <span>
#include <string>

#include <openssl/evp.h>

#include "common/crypto/openssl_start.h"
#include "common/system/text/convert.h"

namespace tarnwell::test {

/// Pattern repeats the byte values 0 to 250, whose count divides no buffer's size.
inline std::string Pattern(std::size_t count) {
    std::string pattern(count, '\0');
    for (std::size_t i = 0; i < count; ++i)
        pattern[i] = static_cast<char>(i % 251);
    return pattern;
}

inline std::string Sha256(std::span<const std::uint8_t> bytes) {
    StartOpenSsl();
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned length = 0;
    EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_sha256(), nullptr);
    return UpperHex({digest, length}).CStr();
}

}  // namespace tarnwell::test
