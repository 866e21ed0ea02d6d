#pragma once

// One-line names for people: of a certificate's subject or issuer, and of a whole certificate by
// a pattern. Certificates may come from anybody; their content never makes these functions fail.
// Pure; any thread may call.

#include <span>

#include <openssl/x509.h>

#include "common/system/text/string.h"

namespace tarnwell {

/// GetNameLabel gives the last common name, else the first organisational unit, else the first
/// organisation, else the first e-mail address, as UTF-8; "" for a name with none of these or
/// whose value is no text.
CISOString GetNameLabel(X509_NAME* name);

/// SerialHex gives the DER of the certificate's serial number, tag and length included, in
/// upper-case hexadecimal: 1 is "020101". "" if it cannot be encoded.
CISOString SerialHex(const X509* certificate);

/// GetCertificateLabel fills `pattern` from the certificate: "%s" the subject's label, "%i" the
/// issuer's, "%#" the serial number as SerialHex gives it, each "?" where it is empty; "%%" a
/// percent sign; "%" and any other character nothing. Gives `fallback` for what is no certificate.
CISOString GetCertificateLabel(const CISOString& pattern, const CISOString& fallback,
                               std::span<const unsigned char> certificateDer);

}  // namespace tarnwell
