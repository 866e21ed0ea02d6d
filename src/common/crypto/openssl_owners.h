#pragma once

// Owners of what OpenSSL hands out; each closes with the call that OpenSSL's manual names.

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pkcs7.h>
#include <openssl/x509.h>

#include "common/system/os/unique.h"

namespace tarnwell {

using CUniqueX509 = CUnique<CPointerTraits<X509, X509_free>>;
using CUniquePkcs7 = CUnique<CPointerTraits<PKCS7, PKCS7_free>>;
using CUniqueKey = CUnique<CPointerTraits<EVP_PKEY, EVP_PKEY_free>>;
using CUniqueKeyContext = CUnique<CPointerTraits<EVP_PKEY_CTX, EVP_PKEY_CTX_free>>;
using CUniqueDigestContext = CUnique<CPointerTraits<EVP_MD_CTX, EVP_MD_CTX_free>>;

/// A whole chain of BIOs: BIO_free would leak all but the first.
using CUniqueBio = CUnique<CPointerTraits<BIO, BIO_free_all>>;

/// What OpenSSL allocated as plain bytes: encodings, signatures, converted text.
struct OpenSslBytesTraits {
    using Value = unsigned char*;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { OPENSSL_free(value); }
};
using CUniqueOpenSslBytes = CUnique<OpenSslBytesTraits>;

/// Share gives another owner of a reference-counted certificate; null stays null.
inline CUniqueX509 Share(X509* certificate) noexcept {
    return CUniqueX509(certificate && X509_up_ref(certificate) ? certificate : nullptr);
}
/// Share gives another owner of a reference-counted key; null stays null.
inline CUniqueKey Share(EVP_PKEY* key) noexcept {
    return CUniqueKey(key && EVP_PKEY_up_ref(key) ? key : nullptr);
}

}  // namespace tarnwell
