#include "common/crypto/certificate_label.h"

#include <utility>

#include "common/crypto/openssl_owners.h"
#include "common/crypto/openssl_start.h"
#include "common/system/text/convert.h"

namespace tarnwell {

namespace {

/// Where the entry stands that names this name best; -1 for none.
int LabelEntry(X509_NAME* name) noexcept {
    int last = -1;
    for (int next = -1; (next = X509_NAME_get_index_by_NID(name, NID_commonName, next)) >= 0;)
        last = next;
    if (last >= 0)
        return last;
    for (const int nid :
         {NID_organizationalUnitName, NID_organizationName, NID_pkcs9_emailAddress}) {
        const int first = X509_NAME_get_index_by_NID(name, nid, -1);
        if (first >= 0)
            return first;
    }
    return -1;
}

CUniqueX509 Decoded(std::span<const unsigned char> der) {
    StartOpenSsl();
    // A long has 32 bits on Windows: a longer buffer must not be cut to some other length.
    if (der.empty() || !std::in_range<long>(der.size()))
        return {};
    const unsigned char* next = der.data();
    return CUniqueX509(d2i_X509(nullptr, &next, static_cast<long>(der.size())));
}

CISOString OrQuestionMark(const CISOString& text) {
    return text.IsEmpty() ? CISOString("?") : text;
}

CISOString Placeholder(char letter, X509* certificate) {
    switch (letter) {
        case '%':
            return "%";
        case 's':
            return OrQuestionMark(GetNameLabel(X509_get_subject_name(certificate)));
        case 'i':
            return OrQuestionMark(GetNameLabel(X509_get_issuer_name(certificate)));
        case '#':
            return OrQuestionMark(SerialHex(certificate));
        default:
            return CISOString();
    }
}

}  // namespace

CISOString GetNameLabel(X509_NAME* name) {
    const int entry = LabelEntry(name);
    if (entry < 0)
        return CISOString();
    const ASN1_STRING* data = X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, entry));
    if (!data)
        return CISOString();
    CUniqueOpenSslBytes utf8;
    const int length = ASN1_STRING_to_UTF8(utf8.Put(), data);
    if (length < 0)
        return CISOString();
    return CISOString(reinterpret_cast<const char*>(utf8.Get()), static_cast<std::size_t>(length));
}

CISOString SerialHex(const X509* certificate) {
    CUniqueOpenSslBytes der;
    const int length = i2d_ASN1_INTEGER(X509_get0_serialNumber(certificate), der.Put());
    if (length < 0)
        return CISOString();
    return UpperHex({der.Get(), static_cast<std::size_t>(length)});
}

CISOString GetCertificateLabel(const CISOString& pattern, const CISOString& fallback,
                               std::span<const unsigned char> certificateDer) {
    const CUniqueX509 certificate = Decoded(certificateDer);
    if (!certificate)
        return fallback;
    CISOString label;
    for (std::size_t i = 0; i < pattern.Length(); ++i) {
        if (pattern[i] != '%')
            label.AppendUnit(pattern[i]);
        else if (++i < pattern.Length())
            label += Placeholder(pattern[i], certificate.Get());
    }
    return label;
}

}  // namespace tarnwell
