#include "common/crypto/short_time.h"

#include <openssl/objects.h>
#include <openssl/x509.h>

#include <algorithm>
#include <array>

namespace tarnwell {

namespace {

/// The object identifier of the attribute, and the tag of the set of its values
/// (RFC 2985, section 5.3.3).
constexpr std::array<unsigned char, 12> kAttributeStart = {0x06, 0x09, 0x2A, 0x86, 0x48, 0x86,
                                                           0xF7, 0x0D, 0x01, 0x09, 0x05, 0x31};

/// A type of time, its length without seconds in UTC, and the type of text that hides it.
struct ShortForm {
    unsigned char time;
    unsigned char length;
    unsigned char hiddenAs;
};
constexpr ShortForm kShortForms[] = {
    {V_ASN1_UTCTIME, 11, V_ASN1_IA5STRING},
    {V_ASN1_GENERALIZEDTIME, 13, V_ASN1_VISIBLESTRING},
};

std::size_t RestoreIn(const STACK_OF(X509_ATTRIBUTE) * attributes) noexcept {
    std::size_t count = 0;
    for (int i = 0; i < sk_X509_ATTRIBUTE_num(attributes); ++i) {
        X509_ATTRIBUTE* attribute = sk_X509_ATTRIBUTE_value(attributes, i);
        if (OBJ_obj2nid(X509_ATTRIBUTE_get0_object(attribute)) != NID_pkcs9_signingTime)
            continue;
        ASN1_TYPE* value = X509_ATTRIBUTE_get0_type(attribute, 0);
        for (const ShortForm& form : kShortForms) {
            if (value && value->type == form.hiddenAs &&
                value->value.asn1_string->length == form.length) {
                value->type = value->value.asn1_string->type = form.time;
                ++count;
            }
        }
    }
    return count;
}

}  // namespace

std::size_t HideShortTimes(std::span<unsigned char> file) noexcept {
    std::size_t hidden = 0;
    for (auto at = file.begin();; ++at) {
        at = std::search(at, file.end(), kAttributeStart.begin(), kAttributeStart.end());
        // Behind it: the length of the set, then tag and length of its first value.
        if (file.end() - at < static_cast<std::ptrdiff_t>(kAttributeStart.size()) + 3)
            return hidden;
        const auto value = at + kAttributeStart.size() + 1;
        for (const ShortForm& form : kShortForms) {
            if (value[0] == form.time && value[1] == form.length) {
                value[0] = form.hiddenAs;
                ++hidden;
            }
        }
    }
}

bool RestoreShortTimes(PKCS7* p7, std::size_t hidden) noexcept {
    std::size_t restored = 0;
    const STACK_OF(PKCS7_SIGNER_INFO)* signers = PKCS7_get_signer_info(p7);
    for (int i = 0; i < sk_PKCS7_SIGNER_INFO_num(signers); ++i) {
        const PKCS7_SIGNER_INFO* signer = sk_PKCS7_SIGNER_INFO_value(signers, i);
        restored += RestoreIn(signer->auth_attr) + RestoreIn(signer->unauth_attr);
    }
    return restored == hidden;
}

}  // namespace tarnwell
