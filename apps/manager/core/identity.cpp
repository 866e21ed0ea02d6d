#include "manager/core/identity.h"

#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include "common/system/text/exception.h"

namespace tarnwell::manager {
namespace {

constexpr unsigned kKeyBits = 3072;
constexpr int kCaDays = 3652;
constexpr int kSignerDays = 730;
/// Certificates start a little in the past, so that a clock that runs behind still likes them.
constexpr long kClockSlack = -300;

using CUniqueExtension = CUnique<CPointerTraits<X509_EXTENSION, X509_EXTENSION_free>>;
using CUniqueNumber = CUnique<CPointerTraits<BIGNUM, BN_free>>;

[[noreturn]] void Fail(const char* what) {
    const unsigned long code = ERR_peek_last_error();
    const char* reason = code != 0 ? ERR_reason_error_string(code) : nullptr;
    ERR_clear_error();
    CISOString message(what);
    if (reason)
        message = message + ": " + reason;
    throw CException(message);
}

void Check(bool good, const char* what) {
    if (!good)
        Fail(what);
}

CUniqueKey MakeKey() {
    CUniqueKey key(EVP_RSA_gen(kKeyBits));
    Check(static_cast<bool>(key), "No key could be made");
    return key;
}

/// A serial number that nobody can guess: positive, below 2^159 (20 octets at most).
void SetRandomSerial(X509* certificate) {
    const CUniqueNumber number(BN_new());
    Check(number && BN_rand(number.Get(), 159, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) == 1 &&
              BN_to_ASN1_INTEGER(number.Get(), X509_get_serialNumber(certificate)),
          "No serial number could be made");
}

void SetName(X509_NAME* name, const char* commonName) {
    const auto add = [name](const char* field, const char* text) {
        return X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8,
                                          reinterpret_cast<const unsigned char*>(text), -1, -1, 0);
    };
    Check(add("O", "Corvane Demo - do not trust") == 1 && add("CN", commonName) == 1,
          "No name could be made");
}

void AddExtension(X509* certificate, X509* issuer, int nid, const char* value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const CUniqueExtension extension(X509V3_EXT_conf_nid(nullptr, &context, nid, value));
    Check(extension && X509_add_ext(certificate, extension.Get(), -1) == 1,
          "No extension could be made");
}

/// An unsigned certificate for `key`; its issuer's name is still missing.
CUniqueX509 MakeDraft(EVP_PKEY* key, const char* commonName, int days) {
    CUniqueX509 draft(X509_new());
    Check(draft && X509_set_version(draft.Get(), X509_VERSION_3) == 1, "No certificate");
    SetRandomSerial(draft.Get());
    SetName(X509_get_subject_name(draft.Get()), commonName);
    Check(X509_gmtime_adj(X509_getm_notBefore(draft.Get()), kClockSlack) &&
              X509_time_adj_ex(X509_getm_notAfter(draft.Get()), days, 0, nullptr) &&
              X509_set_pubkey(draft.Get(), key) == 1,
          "No certificate could be made");
    return draft;
}

void Finish(X509* draft, X509* issuer, EVP_PKEY* issuerKey) {
    Check(X509_set_issuer_name(draft, X509_get_subject_name(issuer)) == 1, "No issuer name");
    AddExtension(draft, issuer, NID_subject_key_identifier, "hash");
    AddExtension(draft, issuer, NID_authority_key_identifier, "keyid:always");
    Check(X509_sign(draft, issuerKey, EVP_sha256()) > 0, "The certificate could not be signed");
}

/// Runs a PEM writer into a memory BIO and gives the text.
template <class Writer>
std::string PemText(Writer write) {
    const CUniqueBio bio(BIO_new(BIO_s_mem()));
    Check(bio && write(bio.Get()) == 1, "The identity could not be encoded");
    char* text = nullptr;
    const long length = BIO_get_mem_data(bio.Get(), &text);
    return std::string(text, static_cast<std::size_t>(length));
}

std::string CertificatePem(X509* certificate) {
    return PemText([&](BIO* bio) { return PEM_write_bio_X509(bio, certificate); });
}

std::string KeyPem(EVP_PKEY* key) {
    return PemText([&](BIO* bio) {
        return PEM_write_bio_PrivateKey(bio, key, nullptr, nullptr, 0, nullptr, nullptr);
    });
}

CUniqueBio Reader(const std::string& text) {
    CUniqueBio bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    Check(static_cast<bool>(bio), "No memory");
    return bio;
}

CUniqueX509 ReadCertificate(const std::string& text) {
    const CUniqueBio bio = Reader(text);
    CUniqueX509 certificate(PEM_read_bio_X509(bio.Get(), nullptr, nullptr, nullptr));
    Check(static_cast<bool>(certificate), "There is a text that is no PEM certificate");
    return certificate;
}

/// Answers OpenSSL's question for a password with "there is none"; it would ask the console.
int NoPassword(char*, int, int, void*) {
    return -1;
}

}  // namespace

PemIdentity MakeIdentity() {
    const CUniqueKey caKey = MakeKey();
    const CUniqueX509 ca = MakeDraft(caKey.Get(), "Corvane Demo CA", kCaDays);
    AddExtension(ca.Get(), ca.Get(), NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
    AddExtension(ca.Get(), ca.Get(), NID_key_usage, "critical,keyCertSign,cRLSign");
    Finish(ca.Get(), ca.Get(), caKey.Get());

    const CUniqueKey signerKey = MakeKey();
    const CUniqueX509 signer = MakeDraft(signerKey.Get(), "Corvane Demo Signer", kSignerDays);
    AddExtension(signer.Get(), ca.Get(), NID_basic_constraints, "critical,CA:FALSE");
    AddExtension(signer.Get(), ca.Get(), NID_key_usage,
                 "critical,digitalSignature,keyEncipherment");
    AddExtension(signer.Get(), ca.Get(), NID_ext_key_usage, "emailProtection");
    Finish(signer.Get(), ca.Get(), caKey.Get());

    return {CertificatePem(ca.Get()), KeyPem(caKey.Get()), CertificatePem(signer.Get()),
            KeyPem(signerKey.Get())};
}

Identity ReadIdentity(const PemIdentity& pem) {
    Identity identity{ReadCertificate(pem.ca), ReadCertificate(pem.signer), CUniqueKey()};
    const CUniqueBio bio = Reader(pem.signerKey);
    identity.key.Reset(PEM_read_bio_PrivateKey(bio.Get(), nullptr, NoPassword, nullptr));
    Check(static_cast<bool>(identity.key), "There is a text that is no PEM private key");
    Check(X509_check_private_key(identity.signer.Get(), identity.key.Get()) == 1,
          "The signer's key and certificate do not belong together");
    return identity;
}

bool IsExpired(const Identity& identity) {
    return X509_cmp_current_time(X509_get0_notAfter(identity.signer.Get())) <= 0;
}

}  // namespace tarnwell::manager
