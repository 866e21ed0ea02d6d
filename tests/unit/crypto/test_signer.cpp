#include "test_signer.h"

#include <openssl/ec.h>
#include <openssl/objects.h>
#include <openssl/rsa.h>
#include <openssl/sha.h>

#include <stdexcept>

#include "common/crypto/certificate_label.h"
#include "common/crypto/openssl_start.h"

namespace tarnwell::test {

namespace {

EVP_PKEY* NewKey(EKeyKind kind) {
    switch (kind) {
        case EKeyKind::kRsa:
            return EVP_RSA_gen(2048);
        case EKeyKind::kEc:
            return EVP_EC_gen("P-256");
        default:
            return EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519");
    }
}

CUniqueKey KeyOf(EKeyKind kind) {
    StartOpenSsl();  // so that it is cleaned up after the keys
    static CUniqueKey keys[3];
    CUniqueKey& key = keys[static_cast<int>(kind)];
    if (!key)
        key.Reset(NewKey(kind));
    if (!key)
        throw std::runtime_error("no key of this kind");
    return Share(key.Get());
}

}  // namespace

/// OpenSSL calls a digest without saying for which object; each CCountingDigest has functions of
/// its own by its slot.
struct DigestCallbacks {
    static constexpr int kSlots = 2;
    static inline CCountingDigest* owners[kSlots] = {};

    static SHA256_CTX* State(EVP_MD_CTX* context) {
        return static_cast<SHA256_CTX*>(EVP_MD_CTX_md_data(context));
    }
    template <int kSlot>
    static int Init(EVP_MD_CTX* context) {
        CCountingDigest::Calls& calls = owners[kSlot]->m_calls;
        ++calls.inits;
        return calls.failsAt == CCountingDigest::kInit ? 0 : SHA256_Init(State(context));
    }
    template <int kSlot>
    static int Update(EVP_MD_CTX* context, const void* data, std::size_t size) {
        CCountingDigest::Calls& calls = owners[kSlot]->m_calls;
        calls.bytes += size;
        return calls.failsAt == CCountingDigest::kUpdate
                   ? 0
                   : SHA256_Update(State(context), data, size);
    }
    template <int kSlot>
    static int Final(EVP_MD_CTX* context, unsigned char* digest) {
        CCountingDigest::Calls& calls = owners[kSlot]->m_calls;
        ++calls.finals;
        return calls.failsAt == CCountingDigest::kFinal ? 0 : SHA256_Final(digest, State(context));
    }
    template <int kSlot>
    static void Install(EVP_MD* digest) {
        EVP_MD_meth_set_init(digest, Init<kSlot>);
        EVP_MD_meth_set_update(digest, Update<kSlot>);
        EVP_MD_meth_set_final(digest, Final<kSlot>);
    }
};

CCountingDigest::CCountingDigest()
    : m_digest(EVP_MD_meth_new(NID_sha256, NID_sha256WithRSAEncryption)) {
    EVP_MD_meth_set_result_size(m_digest, SHA256_DIGEST_LENGTH);
    EVP_MD_meth_set_input_blocksize(m_digest, SHA256_CBLOCK);
    EVP_MD_meth_set_app_datasize(m_digest, sizeof(SHA256_CTX));
    if (!DigestCallbacks::owners[0]) {
        DigestCallbacks::owners[0] = this;
        DigestCallbacks::Install<0>(m_digest);
    } else if (!DigestCallbacks::owners[1]) {
        DigestCallbacks::owners[1] = this;
        DigestCallbacks::Install<1>(m_digest);
    } else {
        throw std::logic_error("two counting digests at a time are enough");
    }
}

CCountingDigest::~CCountingDigest() {
    for (CCountingDigest*& owner : DigestCallbacks::owners)
        owner = owner == this ? nullptr : owner;
    EVP_MD_meth_free(m_digest);
}

TestSigner::TestSigner(EKeyKind kind, const std::string& commonName)
    : key(KeyOf(kind)), certificate(X509_new()) {
    static int serial = 0;
    X509* x509 = certificate.Get();
    X509_set_version(x509, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(x509), ++serial);
    X509_gmtime_adj(X509_getm_notBefore(x509), -3600);
    X509_gmtime_adj(X509_getm_notAfter(x509), 3600);
    X509_NAME* name = X509_get_subject_name(x509);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(commonName.data()),
                               static_cast<int>(commonName.size()), -1, 0);
    X509_set_issuer_name(x509, name);
    X509_set_pubkey(x509, key.Get());
    if (X509_sign(x509, key.Get(), kind == EKeyKind::kEd25519 ? nullptr : EVP_sha256()) <= 0)
        throw std::runtime_error("the certificate cannot be signed");
}

const char* RegisteredSha256() {
    return OBJ_NAME_get("SHA256", OBJ_NAME_TYPE_MD_METH);
}

std::string Der(PKCS7* p7) {
    CUniqueOpenSslBytes bytes;
    const int length = i2d_PKCS7(p7, bytes.Put());
    if (length < 0)
        throw std::runtime_error("the structure cannot be encoded");
    return std::string(reinterpret_cast<char*>(bytes.Get()), static_cast<std::size_t>(length));
}

CUniquePkcs7 Parsed(const std::string& der) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(der.data());
    return CUniquePkcs7(d2i_PKCS7(nullptr, &bytes, static_cast<long>(der.size())));
}

std::string Label(const SignerInfo& signer) {
    if (!signer.certificate)
        return "-";
    return std::string(GetNameLabel(X509_get_subject_name(signer.certificate)).AsView());
}

}  // namespace tarnwell::test
