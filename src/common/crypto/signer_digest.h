#pragma once

// Lets a signer's own EVP_MD object compute the digests of a file that is built: by its place in
// OpenSSL's name table, and, since OpenSSL 3 looks there last, by hanging it into the chain of
// digests and signing with it. Used while one file is built, by one thread of the process.

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

    /// Replace registers `digest` under "SHA256"; the first call notes what stood there.
    void Replace(const EVP_MD* digest) noexcept;

    /// PutBack registers again what stood there before the first Replace; without one it does
    /// nothing.
    void PutBack() noexcept;

private:
    bool m_replaced = false;
    const char* m_saved = nullptr;  ///< as the table holds it; null: the name was not registered
};

/// UseDigest makes `digest` compute every digest of its type in `chain`; to be called before the
/// content is written into it. Returns false if OpenSSL refuses it.
bool UseDigest(BIO* chain, const EVP_MD* digest) noexcept;

/// SignAttributes finishes the signers whose digest is of `digest`'s type: adds the content's
/// digest from `chain` and, if absent, the signing time to the signed attributes and signs them,
/// computed by `digest`. The signers lose their keys, so that PKCS7_dataFinal leaves them alone.
/// Returns false with the reason in OpenSSL's error queue.
bool SignAttributes(PKCS7* p7, BIO* chain, const EVP_MD* digest) noexcept;

}  // namespace tarnwell
