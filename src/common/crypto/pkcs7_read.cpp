#include <chrono>
#include <map>
#include <utility>

#include "common/crypto/openssl_start.h"
#include "common/crypto/pkcs7.h"
#include "common/crypto/pkcs7_content.h"
#include "common/crypto/pkcs7_file.h"
#include "common/system/os/file.h"
#include "common/system/text/convert.h"
#include "common/system/trace/trace.h"

namespace tarnwell {

namespace {

constexpr char kParseFailed[] = "Failed to create PKCS7 from encrypted file";
constexpr char kDecodeFailed[] = "There was a problem when we tried decoding the data in the file.";
constexpr CPKCS7_ERROR kNotReadable = CPKCS7_ERROR::ERROR_OPENSSL | CPKCS7_ERROR::ERROR_RECOVER;
constexpr CPKCS7_ERROR kNoRecipients =
    CPKCS7_ERROR::ERROR_OPENSSL | CPKCS7_ERROR::GET_RECIPIENT_FAIL;

/// A signer fits into 60 bytes of a file, and the check of a signature takes a tenth of a
/// millisecond, but 15 ms with a key made for that. So of many signers not all are checked. The
/// first ones, as many as an honest file has, always are: no verdict hangs on a busy machine.
constexpr int kAlwaysChecked = 10;
constexpr int kMostChecked = 1000;
constexpr std::chrono::seconds kMaxChecking{2};

/// The certificates of the signed part of either signed type; null where the file has no set.
STACK_OF(X509) * CertificateSet(PKCS7* p7) noexcept {
    return PKCS7_type_is_signed(p7) ? p7->d.sign->cert : p7->d.signed_and_enveloped->cert;
}

/// A copy with its key, which the file was parsed without.
CUniqueX509 CopyWithKey(const X509* certificate) noexcept {
    CUniqueOpenSslBytes der;
    const int length = i2d_X509(certificate, der.Put());
    const unsigned char* bytes = der.Get();
    return CUniqueX509(length > 0 ? d2i_X509(nullptr, &bytes, length) : nullptr);
}

/// A file's certificates, to be found by the names that signers give them. A hostile file has
/// thousands of both, or one certificate of a megabyte for all its signers: they are not searched
/// one by one, and a certificate is copied once.
class CCertificatesByName {
public:
    explicit CCertificatesByName(const STACK_OF(X509) * set) {
        for (int i = 0; i < sk_X509_num(set); ++i) {
            const X509* certificate = sk_X509_value(set, i);
            // Of several with one name the first counts.
            m_entries.try_emplace(
                {X509_get0_serialNumber(certificate), X509_get_issuer_name(certificate)},
                Entry{certificate, {}});
        }
    }

    /// Duplicate gives a reference to the copy, which has its key if the first that asked for it
    /// wanted one; null where the file has no such certificate.
    CUniqueX509 Duplicate(const PKCS7_ISSUER_AND_SERIAL& name, bool withKey) {
        const auto found = m_entries.find({name.serial, name.issuer});
        if (found == m_entries.end())
            return CUniqueX509();
        Entry& entry = found->second;
        if (!entry.duplicate)
            entry.duplicate =
                withKey ? CopyWithKey(entry.certificate) : CUniqueX509(X509_dup(entry.certificate));
        return Share(entry.duplicate.Get());
    }

private:
    using Name = std::pair<const ASN1_INTEGER*, const X509_NAME*>;
    struct Before {
        bool operator()(const Name& a, const Name& b) const noexcept {
            const int order = ASN1_INTEGER_cmp(a.first, b.first);
            return order != 0 ? order < 0 : X509_NAME_cmp(a.second, b.second) < 0;
        }
    };
    struct Entry {
        const X509* certificate;
        CUniqueX509 duplicate;
    };
    std::map<Name, Entry, Before> m_entries;
};

bool Verifies(BIO* content, PKCS7* p7, PKCS7_SIGNER_INFO* signer, X509* certificate) noexcept {
    // OpenSSL takes an unknown digest for the first one that it has at hand.
    return certificate && OBJ_obj2nid(signer->digest_alg->algorithm) != NID_undef &&
           PKCS7_signatureVerify(content, p7, signer, certificate) > 0;
}

/// The signing time where it is present, has a value and is a UTCTime.
const ASN1_UTCTIME* SigningTime(PKCS7_SIGNER_INFO* signer) noexcept {
    const ASN1_TYPE* value = PKCS7_get_signed_attribute(signer, NID_pkcs9_signingTime);
    return value && value->type == V_ASN1_UTCTIME ? value->value.utctime : nullptr;
}

/// Where the content goes: the path before its last dot, "" where that leaves nothing.
CUTF16String ContentPath(const CUTF16String& path) {
    const std::size_t dot = path.FindLast(u'.');
    return dot == CUTF16String::npos ? CUTF16String() : path.Sub(0, dot);
}

bool Exists(const CUTF16String& path) {
    try {
        ReadWholeFile(path, 0);
    } catch (const EFileTooLarge&) {
        return true;
    } catch (const CException&) {
        return false;
    }
    return true;
}

}  // namespace

void FreeSignerList(CSignerList* list) noexcept {
    delete list;
}

void CPKCS7::Fail(CPKCS7_ERROR code) {
    m_error = code;
    throw code;
}

void CPKCS7::Fail(const char* message, CPKCS7_ERROR code) {
    TraceString(message);
    Fail(code);
}

PKCS7* CPKCS7::GetPKCS7() {
    StartOpenSsl();
    if (!m_pkcs7)
        m_pkcs7 = LoadPkcs7(m_path).Release();
    if (!m_pkcs7)
        Fail(kParseFailed, kNotReadable);
    return m_pkcs7;
}

int CPKCS7::ContentType() {
    return OBJ_obj2nid(GetPKCS7()->type);
}

CPKCS7_TYPE CPKCS7::GetType() {
    try {
        switch (ContentType()) {
            case NID_pkcs7_signed:
                return CPKCS7_TYPE::SIGN;
            case NID_pkcs7_enveloped:
                return CPKCS7_TYPE::ENCRYPT;
            case NID_pkcs7_signedAndEnveloped:
                return CPKCS7_TYPE::SIGNENCRYPT;
            default:
                return CPKCS7_TYPE::UNKNOWN;
        }
    } catch (CPKCS7_ERROR code) {
        m_error = code;
        return CPKCS7_TYPE::UNKNOWN;
    }
}

bool CPKCS7::IsSigned() {
    const int type = ContentType();
    return type == NID_pkcs7_signed || type == NID_pkcs7_signedAndEnveloped;
}

bool CPKCS7::IsEnveloped() {
    const int type = ContentType();
    return type == NID_pkcs7_enveloped || type == NID_pkcs7_signedAndEnveloped;
}

bool CPKCS7::IsOnlySigned() {
    return ContentType() == NID_pkcs7_signed;
}

bool CPKCS7::IsOnlyEnveloped() {
    return ContentType() == NID_pkcs7_enveloped;
}

bool CPKCS7::IsSignedAndEnveloped() {
    return ContentType() == NID_pkcs7_signedAndEnveloped;
}

CUniqueSignerList CPKCS7::GetSigners(X509* certificate, EVP_PKEY* key) {
    PKCS7* p7 = GetPKCS7();
    const bool decrypts = IsEnveloped() && certificate && key;
    const CUniqueBio content =
        decrypts ? OpenEncryptedContent(p7, certificate, key) : OpenClearContent(p7);
    // Reading runs the digests that the signatures are checked against.
    ReadContent(content.Get(), [](const unsigned char*, std::size_t) {});
    if (!decrypts)
        m_contentSha256 = Sha256OnTheWay(content.Get());
    if (!IsSigned())
        Fail("Tryied to get signer on a non signed file. check type before using this function",
             CPKCS7_ERROR::ERROR_TYPE | CPKCS7_ERROR::GET_SIGNER_FAIL);

    CUniqueSignerList list(new CSignerList);
    STACK_OF(PKCS7_SIGNER_INFO)* signers = PKCS7_get_signer_info(p7);
    const int count = sk_PKCS7_SIGNER_INFO_num(signers);
    if (count <= 0)
        return list;
    if (!CertificateSet(p7))
        Fail("Error when trying to get the certificat from the p7 file",
             CPKCS7_ERROR::ERROR_OPENSSL | CPKCS7_ERROR::GET_SIGNER_FAIL);
    CCertificatesByName certificates(CertificateSet(p7));
    const auto end = std::chrono::steady_clock::now() + kMaxChecking;
    for (int i = 0; i < count; ++i) {
        PKCS7_SIGNER_INFO* signer = sk_PKCS7_SIGNER_INFO_value(signers, i);
        const bool checks =
            i < kAlwaysChecked || (i < kMostChecked && std::chrono::steady_clock::now() < end);
        CUniqueX509 own = certificates.Duplicate(*signer->issuer_and_serial, checks);
        auto info = std::make_unique<SignerInfo>();
        info->signingTime = SigningTime(signer);
        info->verified = checks && Verifies(content.Get(), p7, signer, own.Get());
        info->certificate = own.Get();
        list.Get()->push_back(std::move(info));
        if (m_duplicates && own)
            m_duplicates->push_back(std::move(own));
        else
            static_cast<void>(own.Release());
    }
    return list;
}

std::vector<CISOString> CPKCS7::GetRecipients() {
    if (!IsEnveloped())
        Fail("Tryied to get recipient on a non Envelopped file",
             CPKCS7_ERROR::ERROR_TYPE | CPKCS7_ERROR::GET_RECIPIENT_FAIL);
    STACK_OF(PKCS7_RECIP_INFO)* recipients = nullptr;
    if (m_pkcs7->d.ptr)
        recipients = IsOnlyEnveloped() ? m_pkcs7->d.enveloped->recipientinfo
                                       : m_pkcs7->d.signed_and_enveloped->recipientinfo;
    if (!recipients)
        Fail("Error when trying to get the certificat inside the file. rinfo is null",
             kNoRecipients);

    std::vector<CISOString> list;
    for (int i = 0; i < sk_PKCS7_RECIP_INFO_num(recipients); ++i) {
        PKCS7_RECIP_INFO* recipient = sk_PKCS7_RECIP_INFO_value(recipients, i);
        CUniqueOpenSslBytes der;
        const int length = i2d_PKCS7_ISSUER_AND_SERIAL(recipient->issuer_and_serial, der.Put());
        if (length < 1)
            Fail("There was an error when trying to convert Issuer_and_serial i2d", kNoRecipients);
        list.push_back(UpperHex({der.Get(), static_cast<std::size_t>(length)}));
    }
    return list;
}

std::optional<ContentDigest> CPKCS7::GetContentDigest() {
    const ASN1_OCTET_STRING* octets = EnclosedOctets(GetPKCS7());
    if (!octets)
        return std::nullopt;
    const auto size = static_cast<std::size_t>(ASN1_STRING_length(octets));
    if (!m_contentSha256) {
        Sha256 digest;
        if (EVP_Digest(ASN1_STRING_get0_data(octets), size, digest.data(), nullptr, EVP_sha256(),
                       nullptr) <= 0)
            Fail(CPKCS7_ERROR::ERROR_OPENSSL);
        m_contentSha256 = digest;
    }
    return ContentDigest{size, *m_contentSha256};
}

CUniqueBio CPKCS7::Build_recover(X509* certificate, EVP_PKEY* key) {
    const CTraceScope scope("CPKCS7::Build_recover");
    const CUniqueKey consumed(key);
    CUniqueBio content = GetType() == CPKCS7_TYPE::SIGN
                             ? OpenClearContent(m_pkcs7)
                             : OpenEncryptedContent(m_pkcs7, certificate, key);
    if (!content) {
        PKCS7_free(std::exchange(m_pkcs7, nullptr));
        m_contentSha256.reset();
        Fail(kDecodeFailed, kNotReadable);
    }
    return content;
}

CPKCS7_ERROR CPKCS7::Recover(X509* certificate, EVP_PKEY* key) {
    m_written = false;
    try {
        const CUniqueBio content = Build_recover(certificate, key);
        std::vector<unsigned char> bytes;
        bytes.reserve(ContentSizeHint(m_pkcs7));
        ReadContent(content.Get(), [&](const unsigned char* piece, std::size_t count) {
            bytes.insert(bytes.end(), piece, piece + count);
        });
        if (!DecryptedWell(content.Get()))  // damaged: what was read is noise
            Fail(kDecodeFailed, kNotReadable);
        const CUTF16String target = ContentPath(m_path);
        // A detached signature encloses nothing, and the file beside it is what it signs: that
        // file must not be emptied.
        const bool nothingEnclosed = IsOnlySigned() && PKCS7_is_detached(m_pkcs7);
        if (!target.IsEmpty() && !(nothingEnclosed && Exists(target)))
            m_written = WriteWholeFile(target, bytes);
        return CPKCS7_ERROR::NONE;
    } catch (const CException&) {
        Fail(CPKCS7_ERROR::ERROR_WRITING_FILE | CPKCS7_ERROR::ERROR_RECOVER);
    }
}

}  // namespace tarnwell
