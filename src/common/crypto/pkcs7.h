#pragma once

// A PKCS#7 file that is read: what it is, who signed it, whom it is for, and the content in it.
// The file is read and parsed when first asked for. The container leaves the parsed structure and
// the certificates that it duplicated to whoever made the request; CPKCS7Request (in
// pkcs7_request.h) is that owner and what callers use. Belongs to one thread.

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "common/crypto/openssl_owners.h"
#include "common/crypto/pkcs7_error.h"
#include "common/system/text/string.h"

namespace tarnwell {

/// One signer of a file.
struct SignerInfo {
    /// The signed signing time if it is there as a UTCTime, else null. Lives in the parsed
    /// structure. Its octets are as the file has them: check before use.
    const ASN1_UTCTIME* signingTime = nullptr;
    /// The signature over the content verifies with `certificate`. Says nothing about trust.
    bool verified = false;
    /// A duplicate of the signer's certificate, with a reference of this signer's own; null if the
    /// file does not carry it.
    X509* certificate = nullptr;
};

using CSignerList = std::vector<std::unique_ptr<SignerInfo>>;

/// FreeSignerList releases the list and its records, not the certificates in them.
void FreeSignerList(CSignerList* list) noexcept;

/// Owner of a signer list; closes with FreeSignerList.
using CUniqueSignerList = CUnique<CPointerTraits<CSignerList, FreeSignerList>>;

/// The certificates that a container duplicated, released together.
using CCertificateBin = std::vector<CUniqueX509>;

/// The SHA-256 of some octets.
using Sha256 = std::array<unsigned char, 32>;

/// The enclosed content in brief.
struct ContentDigest {
    std::size_t size;  ///< in octets
    Sha256 sha256;
};

class CPKCS7 {
public:
    /// Stores the path and reads nothing. Certificates that GetSigners duplicates go to
    /// `duplicates`, which must outlive the container; without one they are the caller's to free.
    explicit CPKCS7(CUTF16String path, CCertificateBin* duplicates = nullptr) noexcept
        : m_path(std::move(path)), m_duplicates(duplicates) {}
    CPKCS7(const CPKCS7&) = delete;
    CPKCS7& operator=(const CPKCS7&) = delete;

    /// GetPKCS7 gives the parsed structure, reading the file at first and after each failure.
    /// Throws CException if the file cannot be read, CPKCS7_ERROR 0x402 if it does not parse, is
    /// longer than 2 GiB less one byte, or has more than four million elements. The structure stays
    /// with the container.
    PKCS7* GetPKCS7();

    /// GetType gives SIGN, ENCRYPT, SIGNENCRYPT or UNKNOWN; UNKNOWN too for a file that does not
    /// parse, with the code in Error(). Throws CException if the file cannot be read.
    CPKCS7_TYPE GetType();

    // The predicates throw what GetPKCS7 throws.
    bool IsSigned();              ///< signed, with or without encryption
    bool IsEnveloped();           ///< encrypted, with or without signature
    bool IsOnlySigned();          ///< signed and not encrypted
    bool IsOnlyEnveloped();       ///< encrypted and not signed
    bool IsSignedAndEnveloped();  ///< both

    /// GetSigners reads the content once and lists the signers in the order of the file. An
    /// encrypted content is read only with both `certificate` and `key` (borrowed); without them
    /// its signers are listed as not verified, as are all behind the thousandth, and those behind
    /// the tenth whose turn has not come when the checks have taken two seconds. Throws
    /// CPKCS7_ERROR 0x55 for a file without signatures, 0x52 for one without certificates, and what
    /// GetPKCS7 throws.
    CUniqueSignerList GetSigners(X509* certificate, EVP_PKEY* key);

    /// GetRecipients gives the DER of each recipient's issuer and serial number in upper-case
    /// hexadecimal. Throws CPKCS7_ERROR 0x45 for a file that is not encrypted, 0x42 for one whose
    /// recipients are missing, and what GetPKCS7 throws.
    std::vector<CISOString> GetRecipients();

    /// GetContentDigest gives size and SHA-256 of the octets that the file encloses in clear,
    /// nothing where there are none (detached, encrypted, no OCTET STRING). Costs no second
    /// reading after GetSigners of a file that is signed with SHA-256. Throws what GetPKCS7 throws
    /// and CPKCS7_ERROR 0x2 without memory.
    std::optional<ContentDigest> GetContentDigest();

    /// Build_recover opens the enclosed content for reading; the BIO must not outlive the parsed
    /// structure. `certificate` is borrowed, `key` is consumed on every way out, so that nobody has
    /// to know the file's type to know whose it is; both may be null, which opens signed files
    /// only. Throws CPKCS7_ERROR 0x402 when there is nothing to open, and CException if the file
    /// cannot be read.
    CUniqueBio Build_recover(X509* certificate, EVP_PKEY* key);

    /// Recover writes the enclosed content to the path cut before its last ".", and nothing where
    /// that leaves no name. Returns NONE. Throws CPKCS7_ERROR as Build_recover does, also when the
    /// content turns out not to decrypt, and 0x410 for a CException on the way. Arguments as for
    /// Build_recover.
    CPKCS7_ERROR Recover(X509* certificate, EVP_PKEY* key);

    /// Error gives the code of the last failure.
    CPKCS7_ERROR Error() const noexcept { return m_error; }
    const CUTF16String& Path() const noexcept { return m_path; }
    /// WasWritten tells whether the last Recover wrote a whole file, which its result does not.
    bool WasWritten() const noexcept { return m_written; }

private:
    friend class CPKCS7Request;  // releases the parsed structure when the request ends

    [[noreturn]] void Fail(CPKCS7_ERROR code);
    [[noreturn]] void Fail(const char* message, CPKCS7_ERROR code);
    int ContentType();

    CPKCS7_ERROR m_error = CPKCS7_ERROR::NONE;
    CUTF16String m_path;
    PKCS7* m_pkcs7 = nullptr;
    CCertificateBin* m_duplicates;
    bool m_written = false;
    std::optional<Sha256> m_contentSha256;  ///< once GetSigners has come by it
};

}  // namespace tarnwell
