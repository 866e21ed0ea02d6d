#pragma once

// A certificate with its private key out of the test data. Making one takes seconds where every
// heap call is checked. For tests that link the crypto room.

#include <openssl/pem.h>

#include "common/crypto/openssl_owners.h"
#include "common/crypto/openssl_start.h"
#include "support/temp_folder.h"
#include "support/test_paths.h"

namespace tarnwell::test {

// The pairs' files.
inline constexpr const char* kRsa = "corpus/keys/r1.pem";
inline constexpr const char* kOtherRsa = "corpus/keys/r2.pem";
inline constexpr const char* kEc = "keys/ec.pem";
inline constexpr const char* kEd25519 = "keys/ed25519.pem";

struct TestSigner {
    explicit TestSigner(const char* file) {
        StartOpenSsl();
        const std::string pem = ReadBytes(TestDataPath(file));
        const CUniqueBio text(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
        certificate.Reset(PEM_read_bio_X509(text.Get(), nullptr, nullptr, nullptr));
        key.Reset(PEM_read_bio_PrivateKey(text.Get(), nullptr, nullptr, nullptr));
    }

    CUniqueX509 certificate;
    CUniqueKey key;
};

}  // namespace tarnwell::test
