// Labels of certificates: the first byte is the length of the pattern, which comes next, and the
// rest is a certificate's DER. A label is made of the pattern and of what the certificate's names
// hold; the names alone are read too, since most bytes are no whole certificate.

#include "common/crypto/certificate_label.h"

#include <algorithm>

#include "common/crypto/openssl_owners.h"
#include "common/system/text/convert.h"
#include "fuzz_support.h"

using namespace tarnwell;

namespace {

/// A label is well-formed UTF-8: what reads as a replacement character is written as one.
void RequireText(const CISOString& label) {
    const CUTF16String units = Utf16FromUtf8(label);
    const std::u16string_view view = units.AsView();
    std::size_t written = 0;
    for (std::size_t at = 0; (at = label.Find("\xEF\xBF\xBD", at)) != CISOString::npos; ++at)
        ++written;
    Require(static_cast<std::size_t>(std::count(view.begin(), view.end(), u'\xFFFD')) == written);
}

}  // namespace

void tarnwell::Fuzz(std::string_view input) {
    const std::uint8_t patternLength = TakeByte(input);
    const CISOString pattern(input.substr(0, patternLength));
    const auto der = BytesOf(input.substr(pattern.Length()));

    const unsigned char* next = der.data();
    const CUnique<CPointerTraits<X509_NAME, X509_NAME_free>> name(
        d2i_X509_NAME(nullptr, &next, static_cast<long>(der.size())));
    RequireText(GetNameLabel(name.Get()));

    const CISOString fallback("no certificate");
    const CISOString label = GetCertificateLabel(pattern, fallback, der);
    next = der.data();
    const CUniqueX509 certificate(d2i_X509(nullptr, &next, static_cast<long>(der.size())));
    if (!certificate) {
        Require(label == fallback);
        return;
    }
    Require(GetCertificateLabel("%%%x%s", fallback, der).StartsWith("%"));
    RequireText(GetCertificateLabel("%s%i%#", fallback, der));
    if (pattern.Find('%') == CISOString::npos)
        Require(label == pattern);
    Require(SerialHex(certificate.Get()).StartsWith("02"));
}
