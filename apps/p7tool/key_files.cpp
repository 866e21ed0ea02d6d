#include "p7tool/key_files.h"

#include <openssl/err.h>
#include <openssl/pem.h>

#include "common/system/os/file.h"
#include "common/system/text/convert.h"

namespace tarnwell::p7tool {

namespace {

/// Far more than a certificate with its chain and key needs.
constexpr std::uint64_t kMaxKeyFile = 1 << 20;

std::string Named(const CUTF16String& path) {
    return "'" + std::string(Utf8FromUtf16(path.AsView()).AsView()) + "'";
}

CFileBytes ReadKeyFile(const CUTF16String& path, CPKCS7_ERROR code) {
    try {
        return ReadWholeFile(path, kMaxKeyFile);
    } catch (const EFileTooLarge&) {
        throw EKeyFile(Named(path) + " is too large for a certificate or key", code);
    } catch (const CException& error) {
        throw EKeyFile(error.what(), code);
    }
}

/// Nobody is asked for a pass phrase: the tool runs in scripts.
int NoPassPhrase(char*, int, int, void*) {
    return -1;
}

CUniqueKey LoadKey(const CUTF16String& path) {
    const CFileBytes bytes = ReadKeyFile(path, CPKCS7_ERROR::ERROR_PK_PARAMS);
    const CUniqueBio source(BIO_new_mem_buf(bytes.Data(), static_cast<int>(bytes.Size())));
    CUniqueKey key(PEM_read_bio_PrivateKey(source.Get(), nullptr, NoPassPhrase, nullptr));
    if (!key)
        throw EKeyFile(Named(path) +
                           " holds no private key in PEM without a pass phrase; "
                           "\"openssl pkey -in FILE -out KEY.pem\" writes one",
                       CPKCS7_ERROR::ERROR_PK_PARAMS);
    return key;
}

}  // namespace

CUniqueX509 LoadCertificate(const CUTF16String& path) {
    const CFileBytes bytes = ReadKeyFile(path, CPKCS7_ERROR::ERROR_CERT_PARAMS);
    const CUniqueBio source(BIO_new_mem_buf(bytes.Data(), static_cast<int>(bytes.Size())));
    CUniqueX509 certificate(PEM_read_bio_X509(source.Get(), nullptr, NoPassPhrase, nullptr));
    const unsigned char* der = bytes.Data();
    if (!certificate && !bytes.IsEmpty())
        certificate.Reset(d2i_X509(nullptr, &der, static_cast<long>(bytes.Size())));
    ERR_clear_error();
    if (!certificate)
        throw EKeyFile(Named(path) + " holds no certificate in PEM or DER",
                       CPKCS7_ERROR::ERROR_CERT_PARAMS);
    return certificate;
}

KeyPair LoadKeyPair(const KeyFiles& files) {
    KeyPair pair{LoadCertificate(files.certificate), LoadKey(files.key)};
    if (X509_check_private_key(pair.certificate.Get(), pair.key.Get()) != 1)
        throw EKeyFile(
            Named(files.key) + " is not the key of the certificate in " + Named(files.certificate),
            CPKCS7_ERROR::ERROR_PK_PARAMS);
    return pair;
}

}  // namespace tarnwell::p7tool
