#include "test_signer.h"

#include <openssl/ec.h>
#include <openssl/objects.h>
#include <openssl/rsa.h>
#include <openssl/sha.h>

#include "common/crypto/openssl_start.h"
#include "support/temp_folder.h"
#include "support/test_paths.h"

namespace tarnwell::test {

namespace {

EVP_PKEY* NewKey(EKeyKind kind) {
    if (kind == kEc)
        return EVP_EC_gen("P-256");
    return kind == kEd25519 ? EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519") : EVP_RSA_gen(2048);
}

CUniqueKey KeyOf(EKeyKind kind) {
    StartOpenSsl();  // so that it is cleaned up after the keys
    static CUniqueKey keys[kEd25519 + 1];
    if (!keys[kind])
        keys[kind].Reset(NewKey(kind));
    return Share(keys[kind].Get());
}

SHA256_CTX* State(EVP_MD_CTX* context) {
    return static_cast<SHA256_CTX*>(EVP_MD_CTX_md_data(context));
}

int Init(EVP_MD_CTX* context) {
    ++digestCalls.inits;
    return digestCalls.failsAt == kInit ? 0 : SHA256_Init(State(context));
}

int Update(EVP_MD_CTX* context, const void* data, std::size_t size) {
    digestCalls.bytes += size;
    return digestCalls.failsAt == kUpdate ? 0 : SHA256_Update(State(context), data, size);
}

int Final(EVP_MD_CTX* context, unsigned char* digest) {
    ++digestCalls.finals;
    return digestCalls.failsAt == kFinal ? 0 : SHA256_Final(digest, State(context));
}

}  // namespace

const EVP_MD* CountingDigest(EDigestStep failsAt) {
    using CUniqueDigest = CUnique<CPointerTraits<EVP_MD, EVP_MD_meth_free>>;
    static const CUniqueDigest digest(EVP_MD_meth_new(NID_sha256, NID_sha256WithRSAEncryption));
    EVP_MD_meth_set_result_size(digest.Get(), SHA256_DIGEST_LENGTH);
    EVP_MD_meth_set_input_blocksize(digest.Get(), SHA256_CBLOCK);
    EVP_MD_meth_set_app_datasize(digest.Get(), sizeof(SHA256_CTX));
    EVP_MD_meth_set_init(digest.Get(), Init);
    EVP_MD_meth_set_update(digest.Get(), Update);
    EVP_MD_meth_set_final(digest.Get(), Final);
    digestCalls = {.failsAt = failsAt};
    return digest.Get();
}

TestSigner::TestSigner(EKeyKind kind, const std::string& commonName)
    : key(KeyOf(kind)), certificate(X509_new()) {
    static int serial = 0;
    X509* x509 = certificate.Get();
    ASN1_INTEGER_set(X509_get_serialNumber(x509), ++serial);
    X509_gmtime_adj(X509_getm_notBefore(x509), -3600);
    X509_gmtime_adj(X509_getm_notAfter(x509), 3600);
    X509_NAME* name = X509_get_subject_name(x509);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(commonName.data()),
                               static_cast<int>(commonName.size()), -1, 0);
    X509_set_issuer_name(x509, name);
    X509_set_pubkey(x509, key.Get());
    X509_sign(x509, key.Get(), kind == kEd25519 ? nullptr : EVP_sha256());
}

const char* RegisteredSha256() {
    OPENSSL_init_crypto(OPENSSL_INIT_ADD_ALL_DIGESTS, nullptr);
    return OBJ_NAME_get("SHA256", OBJ_NAME_TYPE_MD_METH);
}

std::string SampleBytes(const std::string& name) {
    return ReadBytes(TestDataPath("corpus/" + name));
}

std::string Der(PKCS7* p7) {
    CUniqueOpenSslBytes bytes;
    const int length = p7 ? i2d_PKCS7(p7, bytes.Put()) : 0;
    return std::string(reinterpret_cast<char*>(bytes.Get()), static_cast<std::size_t>(length));
}

CUniquePkcs7 Parsed(const std::string& der) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(der.data());
    return CUniquePkcs7(d2i_PKCS7(nullptr, &bytes, static_cast<long>(der.size())));
}

}  // namespace tarnwell::test
