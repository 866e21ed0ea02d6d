#pragma once

// The demo identity: a CA and a signer certificate with its key, which stand in for a smart card.
// They are made in memory here; identity_store.h keeps them. Any thread may call.

#include <string>

#include "common/crypto/openssl_owners.h"

namespace tarnwell::manager {

/// The identity as PEM texts (RFC 7468), private keys in the clear: a demo needs no password.
struct PemIdentity {
    std::string ca;
    std::string caKey;
    std::string signer;
    std::string signerKey;
};

/// What building and recovering need of it.
struct Identity {
    CUniqueX509 ca;
    CUniqueX509 signer;
    CUniqueKey key;
};

/// MakeIdentity makes two RSA keys of 3072 bits, a CA certificate for ten years and a signer
/// certificate for two (RFC 5280; SHA-256; digital signature, key encipherment, e-mail
/// protection). Takes about a second. Throws CException with OpenSSL's reason.
PemIdentity MakeIdentity();

/// ReadIdentity reads the texts back. Throws CException where one is no PEM of its kind, or where
/// key and certificate do not belong together.
Identity ReadIdentity(const PemIdentity& pem);

/// IsExpired tells whether the signer certificate's time is over.
bool IsExpired(const Identity& identity);

}  // namespace tarnwell::manager
