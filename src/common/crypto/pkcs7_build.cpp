#include "common/crypto/pkcs7_build.h"

#include <climits>
#include <cstdint>

#include <openssl/err.h>

#include "common/system/os/file.h"
#include "common/system/trace/trace.h"

namespace tarnwell {

namespace {

constexpr std::size_t kFirstCapacity = 2;

constexpr CPKCS7_ERROR kEncodingFailed =
    CPKCS7_ERROR::ERROR_OPENSSL | CPKCS7_ERROR::ERROR_WRITING_FILE;

template <class T>
void Append(std::vector<T>& list, T item) {
    if (list.capacity() == 0)
        list.reserve(kFirstCapacity);
    list.push_back(std::move(item));
}

bool AddContentType(PKCS7_SIGNER_INFO* signer) noexcept {
    return PKCS7_add_signed_attribute(signer, NID_pkcs9_contentType, V_ASN1_OBJECT,
                                      OBJ_nid2obj(NID_pkcs7_data)) > 0;
}

bool AddSigningTime(PKCS7_SIGNER_INFO* signer) noexcept {
    ASN1_TIME* now = X509_gmtime_adj(nullptr, 0);
    if (now && PKCS7_add_signed_attribute(signer, NID_pkcs9_signingTime, V_ASN1_UTCTIME, now) > 0)
        return true;
    ASN1_TIME_free(now);
    return false;
}

bool AddSignature(PKCS7* p7, const SignerParams& params, bool withSigningTime) noexcept {
    if (!p7)
        return false;
    PKCS7_SIGNER_INFO* signer =
        PKCS7_add_signature(p7, params.certificate.Get(), params.key.Get(), params.digest);
    return signer && AddContentType(signer) &&
           PKCS7_add_certificate(p7, params.certificate.Get()) > 0 &&
           (!withSigningTime || AddSigningTime(signer));
}

/// BIO_write takes its length as int.
bool WriteAll(BIO* chain, const CFileBytes& bytes) noexcept {
    const int length = static_cast<int>(bytes.Size());
    return BIO_write(chain, bytes.Data(), length) == length;
}

}  // namespace

void CPKCS7Build::AddSigner(X509* certificate, EVP_PKEY* key, const EVP_MD* digest) {
    Append(m_signers,
           std::make_unique<SignerParams>(SignerParams{digest, Share(key), Share(certificate)}));
}

void CPKCS7Build::AddRecipient(X509* certificate) {
    Append(m_recipients, Share(certificate));
}

CPKCS7_ERROR CPKCS7Build::Fail(const char* message, CPKCS7_ERROR code) noexcept {
    TraceString(message);
    return m_error = code;
}

CPKCS7_ERROR CPKCS7Build::Build(const CUTF16String& inputPath, CUTF16String outputPath) {
    m_written = false;
    if (inputPath.IsEmpty())
        return Fail("You cannot build a file without a file duh.", CPKCS7_ERROR::ERROR_PK_PARAMS);

    CDigestRegistration registration;
    CUniquePkcs7 p7;
    switch (m_type) {
        case CPKCS7_TYPE::SIGN:
            Build_sign(p7, registration);
            break;
        case CPKCS7_TYPE::ENCRYPT:
            Build_encrypt(p7);
            break;
        case CPKCS7_TYPE::SIGNENCRYPT:
            Build_signencrypt(p7, registration);
            break;
        default:
            break;
    }
    if (m_error != CPKCS7_ERROR::NONE)
        return m_error;

    if (outputPath.IsEmpty())
        outputPath = inputPath + u".p7";
    const CUniqueBio file = Enclose(p7.Get(), inputPath);
    if (!file)
        return m_error;
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(file.Get(), &bytes);
    p7.Reset();
    try {
        m_written = WriteWholeFile(outputPath, {reinterpret_cast<const unsigned char*>(bytes),
                                                static_cast<std::size_t>(length)});
    } catch (...) {  // whatever goes wrong here is told as one code
        return m_error = CPKCS7_ERROR::ERROR_WRITING_FILE;
    }
    return CPKCS7_ERROR::NONE;
}

CUniqueBio CPKCS7Build::Enclose(PKCS7* p7, const CUTF16String& inputPath) {
    const CUniqueBio content = Digest(p7, inputPath);
    if (!content)
        return CUniqueBio();
    if (BIO_flush(content.Get()) <= 0)
        throw CPKCS7_ERROR{CPKCS7_ERROR::ERROR_OPENSSL};

    ERR_clear_error();  // the text of this step's error is reported, not that of an older one
    if (!SignWithDigests(p7, content.Get(), Digests()) || PKCS7_dataFinal(p7, content.Get()) <= 0) {
        Fail("PKCS7 data processing failed", kEncodingFailed);
        TraceString(ERR_error_string(ERR_get_error(), nullptr));
        return CUniqueBio();
    }
    CUniqueBio file(BIO_new(BIO_s_mem()));
    if (!file)
        Fail("Problem while creating new pBIO.", kEncodingFailed);
    else if (i2d_PKCS7_bio(file.Get(), p7) == 0) {
        Fail("Problem while coverting I2D.", kEncodingFailed);
        file.Reset();
    } else if (BIO_flush(file.Get()) <= 0)
        throw CPKCS7_ERROR{CPKCS7_ERROR::ERROR_OPENSSL};
    return file;
}

CUniqueBio CPKCS7Build::Digest(PKCS7* p7, const CUTF16String& inputPath) {
    try {
        const CFileBytes input = ReadWholeFile(inputPath, INT_MAX);
        CUniqueBio content(PKCS7_dataInit(p7, nullptr));
        if (content && UseDigests(content.Get(), Digests()) && WriteAll(content.Get(), input))
            return content;
    } catch (const EFileTooLarge&) {  // OpenSSL would take a part of it only
    } catch (const CException&) {
        Fail("We cannot open file.", CPKCS7_ERROR::CANNOT_OPEN_FILE);
        return CUniqueBio();
    }
    Fail("PKCS7 input/output failed", kEncodingFailed);
    return CUniqueBio();
}

std::vector<const EVP_MD*> CPKCS7Build::Digests() const {
    std::vector<const EVP_MD*> digests;
    for (const auto& signer : m_signers)
        digests.push_back(signer->digest);
    return digests;
}

void CPKCS7Build::Build_sign(CUniquePkcs7& p7, CDigestRegistration& registration) {
    const CTraceScope scope("CPKCS7::Build_sign");
    if (m_signers.empty())
        Fail("You cannot sign without signer", CPKCS7_ERROR::GET_SIGNER_FAIL);
    p7.Reset(PKCS7_new());
    if (!p7)
        Fail("PKCS7 creation failed", CPKCS7_ERROR::ERROR_OPENSSL);
    else {
        PKCS7_set_type(p7.Get(), NID_pkcs7_signed);
        PKCS7_content_new(p7.Get(), NID_pkcs7_data);
    }
    AddSigners(p7, registration, true);
}

void CPKCS7Build::Build_encrypt(CUniquePkcs7& p7) {
    const CTraceScope scope("CPKCS7::Build_encrypt");
    if (m_recipients.empty())
        Fail("You cannot encrypte without recipient", CPKCS7_ERROR::GET_SIGNER_FAIL);
    p7.Reset(PKCS7_new());
    if (!p7)
        Fail("PKCS7 creation failed", CPKCS7_ERROR::ERROR_OPENSSL);
    else
        PKCS7_set_type(p7.Get(), NID_pkcs7_enveloped);
    AddRecipients(p7);
}

void CPKCS7Build::Build_signencrypt(CUniquePkcs7& p7, CDigestRegistration& registration) {
    const CTraceScope scope("CPKCS7::Build_signencrypt");
    if (m_recipients.empty())
        Fail("You cannot encrypte without recipient", CPKCS7_ERROR::GET_SIGNER_FAIL);
    if (m_signers.empty())
        Fail("You cannot sign without signer", CPKCS7_ERROR::GET_SIGNER_FAIL);
    p7.Reset(PKCS7_new());
    if (!p7)
        Fail("PKCS7 creation failed.", CPKCS7_ERROR::ERROR_OPENSSL);
    else
        PKCS7_set_type(p7.Get(), NID_pkcs7_signedAndEnveloped);  // its content type is data already
    AddRecipients(p7);
    AddSigners(p7, registration, false);
}

void CPKCS7Build::AddRecipients(CUniquePkcs7& p7) {
    // After a failure the structure is gone; what is still to be added fails in its turn.
    if (!p7 || PKCS7_set_cipher(p7.Get(), EVP_des_ede3_cbc()) <= 0) {
        p7.Reset();
        Fail("Failed to set the cipher", CPKCS7_ERROR::ERROR_OPENSSL);
    }
    for (const CUniqueX509& recipient : m_recipients) {
        if (!p7 || !PKCS7_add_recipient(p7.Get(), recipient.Get())) {
            p7.Reset();
            Fail("Failed to add recipient", CPKCS7_ERROR::ERROR_OPENSSL);
        }
    }
}

void CPKCS7Build::AddSigners(CUniquePkcs7& p7, CDigestRegistration& registration,
                             bool withSigningTime) {
    for (const auto& signer : m_signers) {
        if (!AddSignature(p7.Get(), *signer, withSigningTime)) {
            p7.Reset();
            Fail("PKCS7 signature processing failed", CPKCS7_ERROR::ERROR_OPENSSL);
        }
        registration.Replace(signer->digest);
    }
}

}  // namespace tarnwell
