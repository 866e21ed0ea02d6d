#pragma once

// A request to build a PKCS#7 file: of which type, signed with whose keys, encrypted for whom.
// The request shares the certificates and keys that it is given; a digest stays the caller's and
// must outlive Build. While a signed file is built OpenSSL's process-wide name table is changed,
// so only one build may run in a process at a time.

#include <memory>
#include <vector>

#include "common/crypto/openssl_owners.h"
#include "common/crypto/pkcs7_error.h"
#include "common/crypto/signer_digest.h"
#include "common/system/text/string.h"

namespace tarnwell {

/// What one signer signs with.
struct SignerParams {
    const EVP_MD* digest;  ///< borrowed
    CUniqueKey key;
    CUniqueX509 certificate;
};

class CPKCS7Build {
public:
    explicit CPKCS7Build(CPKCS7_TYPE type) noexcept : m_type(type) {}
    CPKCS7Build(const CPKCS7Build&) = delete;
    CPKCS7Build& operator=(const CPKCS7Build&) = delete;

    /// AddSigner appends a signer; `digest` computes both the content's digest and that of the
    /// signed attributes, so it may be an object of the caller's own (EVP_MD_meth_new).
    void AddSigner(X509* certificate, EVP_PKEY* key, const EVP_MD* digest);

    /// AddRecipient appends a certificate that the content is encrypted for.
    void AddRecipient(X509* certificate);

    /// Build reads `inputPath`, encloses it and writes the DER file to `outputPath`, which when
    /// empty is the input's path with ".p7" appended. Returns NONE or the code of the failure:
    /// 0x3 no input path, 0x50 no signer or recipient, 0x1 unreadable input, 0x2 and 0x12 OpenSSL,
    /// 0x10 for an exception while writing. A target that cannot be opened or written goes
    /// unreported: ask WasWritten. Throws CPKCS7_ERROR 0x2 if a BIO cannot be flushed. A request
    /// that has failed goes on failing with its code: make a new one for a new attempt.
    CPKCS7_ERROR Build(const CUTF16String& inputPath, CUTF16String outputPath);

    /// Error gives the code of the last failure.
    CPKCS7_ERROR Error() const noexcept { return m_error; }
    /// WasWritten tells whether the last Build wrote the whole file, which its result does not.
    bool WasWritten() const noexcept { return m_written; }

private:
    void Build_sign(CUniquePkcs7& p7, CDigestRegistration& registration);
    void Build_encrypt(CUniquePkcs7& p7);
    void Build_signencrypt(CUniquePkcs7& p7, CDigestRegistration& registration);

    void AddRecipients(CUniquePkcs7& p7);
    void AddSigners(CUniquePkcs7& p7, CDigestRegistration& registration, bool withSigningTime);

    /// Encloses the input and encodes the whole file; null with m_error set.
    CUniqueBio Enclose(PKCS7* p7, const CUTF16String& inputPath);
    /// Reads the input through the chain of digests and ciphers; null with m_error set.
    CUniqueBio Digest(PKCS7* p7, const CUTF16String& inputPath);
    std::vector<const EVP_MD*> Digests() const;

    CPKCS7_ERROR Fail(const char* message, CPKCS7_ERROR code) noexcept;

    CPKCS7_ERROR m_error = CPKCS7_ERROR::NONE;
    CPKCS7_TYPE m_type;
    bool m_written = false;
    std::vector<CUniqueX509> m_recipients;
    std::vector<std::unique_ptr<SignerParams>> m_signers;
};

}  // namespace tarnwell
