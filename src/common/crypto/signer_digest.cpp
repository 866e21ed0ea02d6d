#include "common/crypto/signer_digest.h"

#include <utility>

#include <openssl/asn1t.h>
#include <openssl/crypto.h>
#include <openssl/objects.h>

#include "common/crypto/openssl_owners.h"

namespace tarnwell {

namespace {

constexpr char kName[] = "SHA256";

/// The digest that counts for a type: where several signers brought one, the last one's.
const EVP_MD* LastOfType(CDigestView digests, int type) noexcept {
    const EVP_MD* found = nullptr;
    for (const EVP_MD* digest : digests)
        if (digest && EVP_MD_get_type(digest) == type)
            found = digest;
    return found;
}

/// Adds what the signed attributes still lack, the signing time and the content's digest: those
/// that PKCS7_dataFinal adds.
bool CompleteAttributes(PKCS7_SIGNER_INFO* signer, BIO* chain) noexcept {
    if (!PKCS7_get_signed_attribute(signer, NID_pkcs9_signingTime) &&
        !PKCS7_add0_attrib_signing_time(signer, nullptr))
        return false;
    const EVP_MD_CTX* running = RunningDigest(chain, OBJ_obj2nid(signer->digest_alg->algorithm));
    const CUniqueDigestContext copy(EVP_MD_CTX_new());
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    return running && copy && EVP_MD_CTX_copy_ex(copy.Get(), running) > 0 &&
           EVP_DigestFinal_ex(copy.Get(), digest, &length) > 0 &&
           PKCS7_add1_attrib_digest(signer, digest, static_cast<int>(length)) > 0;
}

/// Signs the DER of the signed attributes: a SET OF, not the [0] that the file carries
/// (RFC 2315, section 9.3).
bool SignAttributes(PKCS7_SIGNER_INFO* signer, EVP_PKEY* key, const EVP_MD* digest) noexcept {
    CUniqueOpenSslBytes der;
    const int derLength = ASN1_item_i2d(reinterpret_cast<const ASN1_VALUE*>(signer->auth_attr),
                                        der.Put(), ASN1_ITEM_rptr(PKCS7_ATTR_SIGN));
    const CUniqueDigestContext context(EVP_MD_CTX_new());
    unsigned char hash[EVP_MAX_MD_SIZE];
    unsigned int hashLength = 0;
    if (derLength <= 0 || !context || EVP_DigestInit_ex(context.Get(), digest, nullptr) <= 0 ||
        EVP_DigestUpdate(context.Get(), der.Get(), static_cast<std::size_t>(derLength)) <= 0 ||
        EVP_DigestFinal_ex(context.Get(), hash, &hashLength) <= 0)
        return false;

    const CUniqueKeyContext signing(EVP_PKEY_CTX_new(key, nullptr));
    std::size_t length = 0;
    if (!signing || EVP_PKEY_sign_init(signing.Get()) <= 0 ||
        EVP_PKEY_CTX_set_signature_md(signing.Get(), digest) <= 0 ||
        EVP_PKEY_sign(signing.Get(), nullptr, &length, hash, hashLength) <= 0)
        return false;
    CUniqueOpenSslBytes signature(static_cast<unsigned char*>(OPENSSL_malloc(length)));
    if (!signature || EVP_PKEY_sign(signing.Get(), signature.Get(), &length, hash, hashLength) <= 0)
        return false;
    ASN1_STRING_set0(signer->enc_digest, signature.Release(), static_cast<int>(length));
    return true;
}

}  // namespace

void CDigestRegistration::Replace(const EVP_MD* digest) noexcept {
    if (!digest)
        return;
    // In a fresh process the table is empty, and "nothing" would be put back for good.
    OPENSSL_init_crypto(OPENSSL_INIT_ADD_ALL_CIPHERS | OPENSSL_INIT_ADD_ALL_DIGESTS, nullptr);
    if (!std::exchange(m_replaced, true))
        m_saved = OBJ_NAME_get(kName, OBJ_NAME_TYPE_MD_METH);
    OBJ_NAME_add(kName, OBJ_NAME_TYPE_MD_METH, reinterpret_cast<const char*>(digest));
}

void CDigestRegistration::PutBack() noexcept {
    if (!std::exchange(m_replaced, false))
        return;
    if (m_saved)
        OBJ_NAME_add(kName, OBJ_NAME_TYPE_MD_METH, m_saved);
    else
        OBJ_NAME_remove(kName, OBJ_NAME_TYPE_MD_METH);
}

EVP_MD_CTX* RunningDigest(BIO* chain, int type) noexcept {
    for (BIO* link = BIO_find_type(chain, BIO_TYPE_MD); link;) {
        EVP_MD_CTX* context = nullptr;
        BIO_get_md_ctx(link, &context);
        if (context && EVP_MD_CTX_get_type(context) == type)
            return context;
        link = BIO_next(link);
        link = link ? BIO_find_type(link, BIO_TYPE_MD) : nullptr;
    }
    return nullptr;
}

bool UseDigests(BIO* chain, CDigestView digests) noexcept {
    for (BIO* link = BIO_find_type(chain, BIO_TYPE_MD); link;) {
        EVP_MD_CTX* context = nullptr;
        BIO_get_md_ctx(link, &context);
        const EVP_MD* digest =
            context ? LastOfType(digests, EVP_MD_CTX_get_type(context)) : nullptr;
        if (digest && BIO_set_md(link, digest) <= 0)
            return false;
        link = BIO_next(link);
        link = link ? BIO_find_type(link, BIO_TYPE_MD) : nullptr;
    }
    return true;
}

bool SignWithDigests(PKCS7* p7, BIO* chain, CDigestView digests) noexcept {
    STACK_OF(PKCS7_SIGNER_INFO)* signers = PKCS7_get_signer_info(p7);
    for (int i = 0; i < sk_PKCS7_SIGNER_INFO_num(signers); ++i) {
        PKCS7_SIGNER_INFO* signer = sk_PKCS7_SIGNER_INFO_value(signers, i);
        const EVP_MD* digest = LastOfType(digests, OBJ_obj2nid(signer->digest_alg->algorithm));
        if (!signer->pkey || !digest)
            continue;
        const CUniqueKey key(std::exchange(signer->pkey, nullptr));
        if (!CompleteAttributes(signer, chain) || !SignAttributes(signer, key.Get(), digest))
            return false;
    }
    return true;
}

}  // namespace tarnwell
