#include "common/crypto/pkcs7_content.h"

#include "common/crypto/signer_digest.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace tarnwell {

namespace {

/// Every digest algorithm costs a link in a chain that OpenSSL walks by recursion.
constexpr std::size_t kMaxDigestAlgorithms = 64;

/// The digest algorithms of the signed part; null where there is none.
STACK_OF(X509_ALGOR) * DigestAlgorithms(PKCS7* p7) noexcept {
    if (!p7 || !p7->d.ptr)
        return nullptr;
    switch (OBJ_obj2nid(p7->type)) {
        case NID_pkcs7_signed:
            return p7->d.sign->md_algs;
        case NID_pkcs7_signedAndEnveloped:
            return p7->d.signed_and_enveloped->md_algs;
        default:
            return nullptr;
    }
}

/// Keeps the first of each algorithm. A file that repeats one thousands of times would overflow
/// the stack with the chain of their digests. False if more different ones are left than allowed.
bool KeepDifferentAlgorithms(STACK_OF(X509_ALGOR) * algorithms) {
    std::vector<X509_ALGOR*> kept;
    const int count = sk_X509_ALGOR_num(algorithms);
    for (int i = 0; i < count; ++i) {
        X509_ALGOR* algorithm = sk_X509_ALGOR_value(algorithms, i);
        const bool repeated = std::any_of(kept.begin(), kept.end(), [&](const X509_ALGOR* other) {
            return OBJ_cmp(algorithm->algorithm, other->algorithm) == 0;
        });
        if (!repeated && kept.size() == kMaxDigestAlgorithms)
            return false;
        if (!repeated)
            kept.push_back(algorithm);
    }
    if (kept.size() == static_cast<std::size_t>(std::max(count, 0)))
        return true;
    // The kept ones move to the front, where each meets one that was seen already or itself; what
    // gathers behind them is let go.
    std::size_t next = 0;
    for (int i = 0; i < count; ++i) {
        X509_ALGOR* algorithm = sk_X509_ALGOR_value(algorithms, i);
        if (next < kept.size() && algorithm == kept[next]) {
            X509_ALGOR* displaced = sk_X509_ALGOR_value(algorithms, static_cast<int>(next));
            sk_X509_ALGOR_set(algorithms, static_cast<int>(next), algorithm);
            sk_X509_ALGOR_set(algorithms, i, displaced);
            ++next;
        }
    }
    while (sk_X509_ALGOR_num(algorithms) > static_cast<int>(kept.size()))
        X509_ALGOR_free(sk_X509_ALGOR_pop(algorithms));
    return true;
}

/// The place of the octets in a signed structure that encloses plain data, else null.
ASN1_OCTET_STRING** SignedDataOctets(PKCS7* p7) noexcept {
    if (OBJ_obj2nid(p7->type) != NID_pkcs7_signed || !p7->d.ptr)
        return nullptr;
    PKCS7* contents = p7->d.sign->contents;
    if (!contents || !PKCS7_type_is_data(contents) || !contents->d.data ||
        ASN1_STRING_length(contents->d.data) == 0)
        return nullptr;
    return &contents->d.data;
}

int RecipientCount(PKCS7* p7) noexcept {
    switch (OBJ_obj2nid(p7->type)) {
        case NID_pkcs7_enveloped:
            return sk_PKCS7_RECIP_INFO_num(p7->d.enveloped->recipientinfo);
        case NID_pkcs7_signedAndEnveloped:
            return sk_PKCS7_RECIP_INFO_num(p7->d.signed_and_enveloped->recipientinfo);
        default:
            return 0;
    }
}

}  // namespace

const ASN1_OCTET_STRING* EnclosedOctets(PKCS7* p7) noexcept {
    if (!p7 || !p7->d.ptr)
        return nullptr;
    const PKCS7* holder = p7;
    if (PKCS7_type_is_signed(p7))
        holder = p7->d.sign->contents;
    else if (PKCS7_type_is_digest(p7))
        holder = p7->d.digest->contents;
    else if (!PKCS7_type_is_data(p7))
        return nullptr;
    if (!holder || !holder->d.ptr)
        return nullptr;
    const int type = OBJ_obj2nid(holder->type);
    if (type == NID_pkcs7_data)
        return holder->d.data;
    // The members for OpenSSL's own types are no OCTET STRINGs; anything else is an ASN1_TYPE.
    if (type >= NID_pkcs7_signed && type <= NID_pkcs7_encrypted)
        return nullptr;
    return holder->d.other->type == V_ASN1_OCTET_STRING ? holder->d.other->value.octet_string
                                                        : nullptr;
}

std::size_t ContentSizeHint(PKCS7* p7) noexcept {
    const ASN1_OCTET_STRING* octets = EnclosedOctets(p7);
    if (!octets && p7 && p7->d.ptr && PKCS7_type_is_enveloped(p7))
        octets = p7->d.enveloped->enc_data->enc_data;
    else if (!octets && p7 && p7->d.ptr && PKCS7_type_is_signedAndEnveloped(p7))
        octets = p7->d.signed_and_enveloped->enc_data->enc_data;
    return octets ? static_cast<std::size_t>(ASN1_STRING_length(octets)) : 0;
}

CUniqueBio OpenClearContent(PKCS7* p7) {
    if (!p7 || !KeepDifferentAlgorithms(DigestAlgorithms(p7)))
        return CUniqueBio();
    ASN1_OCTET_STRING** place = SignedDataOctets(p7);
    if (!place)
        return CUniqueBio(PKCS7_dataInit(p7, nullptr));

    // PKCS7_dataInit copies the content of a signed structure twice over. Given a source of its
    // own, and no octets in sight, it puts its digests before the source and copies nothing.
    CUniqueBio source(BIO_new_mem_buf((*place)->data, (*place)->length));
    if (!source)
        return source;
    BIO_set_mem_eof_return(source.Get(), 0);
    ASN1_OCTET_STRING* octets = std::exchange(*place, nullptr);
    CUniqueBio content(PKCS7_dataInit(p7, source.Get()));
    *place = octets;
    if (content)
        static_cast<void>(source.Release());  // the chain owns it now
    return content;
}

CUniqueBio OpenEncryptedContent(PKCS7* p7, X509* certificate, EVP_PKEY* key) {
    if (!p7 || !p7->d.ptr)
        return CUniqueBio();
    // Without recipients and without a certificate OpenSSL decrypts under a random key.
    if (RecipientCount(p7) <= 0 || !KeepDifferentAlgorithms(DigestAlgorithms(p7)))
        return CUniqueBio();
    // With a key of somebody else it gives noise rather than an error.
    if (certificate && key && EVP_PKEY_eq(X509_get0_pubkey(certificate), key) == 0)
        return CUniqueBio();
    return CUniqueBio(PKCS7_dataDecode(p7, key, nullptr, certificate));
}

std::optional<std::array<unsigned char, 32>> Sha256OnTheWay(BIO* content) noexcept {
    const EVP_MD_CTX* running = RunningDigest(content, NID_sha256);
    const CUniqueDigestContext copy(running ? EVP_MD_CTX_new() : nullptr);
    std::array<unsigned char, 32> digest;
    if (!copy || EVP_MD_CTX_copy_ex(copy.Get(), running) <= 0 ||
        EVP_DigestFinal_ex(copy.Get(), digest.data(), nullptr) <= 0)
        return std::nullopt;
    return digest;
}

bool DecryptedWell(BIO* content) noexcept {
    BIO* cipher = BIO_find_type(content, BIO_TYPE_CIPHER);
    return !cipher || BIO_get_cipher_status(cipher) > 0;
}

}  // namespace tarnwell
