#pragma once

// Lets a signer's own EVP_MD object compute the digests of a file that is built: by its place in
// OpenSSL's name table, and, since OpenSSL 3 looks there last, by hanging it into the chain of
// digests and by signing with it. Where several signers bring an object for one type of digest,
// the last one's counts. Used while one file is built, by one thread of the process.

#include <span>

#include <openssl/evp.h>
#include <openssl/pkcs7.h>

namespace tarnwell {

/// Owns the registration of "SHA256" in OpenSSL's process-wide name table for one build: on every
/// way out the table is as it was, so that no freed object stays registered.
class CDigestRegistration {
public:
    CDigestRegistration() noexcept = default;
    CDigestRegistration(const CDigestRegistration&) = delete;
    CDigestRegistration& operator=(const CDigestRegistration&) = delete;
    ~CDigestRegistration() { PutBack(); }

    /// Replace registers `digest` under "SHA256"; the first call notes what stood there. Null is
    /// not registered.
    void Replace(const EVP_MD* digest) noexcept;

    /// PutBack registers again what stood there before the first Replace; without one it does
    /// nothing.
    void PutBack() noexcept;

private:
    bool m_replaced = false;
    const char* m_saved = nullptr;  ///< as the table holds it; null: the name was not registered
};

/// The signers' digest objects in the signers' order; null entries are skipped.
using CDigestView = std::span<const EVP_MD* const>;

/// RunningDigest gives the digest of type `type` (a NID) in `chain`, null where there is none.
EVP_MD_CTX* RunningDigest(BIO* chain, int type) noexcept;

/// UseDigests hangs the objects into `chain`, each in the place of the digest of its type; to be
/// called before the content is written into it. False if OpenSSL refuses one.
bool UseDigests(BIO* chain, CDigestView digests) noexcept;

/// SignWithDigests finishes every signer that has an object for its type of digest: completes the
/// signed attributes with the content's digest from `chain` and, if absent, the signing time, and
/// signs them. These signers lose their keys, so that PKCS7_dataFinal leaves them as they are.
/// False with the reason in OpenSSL's error queue.
bool SignWithDigests(PKCS7* p7, BIO* chain, CDigestView digests) noexcept;

}  // namespace tarnwell
