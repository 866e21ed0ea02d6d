#pragma once

// Keys, self-signed certificates, a digest object and sample files that live for one test.

#include <string>

#include "common/crypto/openssl_owners.h"
#include "common/crypto/pkcs7_request.h"

namespace tarnwell::test {

enum EKeyKind { kRsa, kOtherRsa, kEc, kEd25519 };

/// A key with a certificate of its own. Keys are made once a process: RSA takes its time.
struct TestSigner {
    explicit TestSigner(EKeyKind kind, const std::string& commonName = "Signer");
    CUniqueKey key;
    CUniqueX509 certificate;
};

enum EDigestStep { kInit, kUpdate, kFinal, kNoStep };

/// What the counting digest was called for since it was handed out.
struct DigestCalls {
    EDigestStep failsAt = kNoStep;
    int inits = 0;
    int finals = 0;
    std::size_t bytes = 0;
};
inline DigestCalls digestCalls;

/// The test's own SHA-256, which counts its calls from now on and fails at one step or none.
const EVP_MD* CountingDigest(EDigestStep failsAt = kNoStep);

/// What "SHA256" stands for in OpenSSL's name table.
const char* RegisteredSha256();

/// The bytes of a sample file.
std::string SampleBytes(const std::string& name);

/// The DER of a structure; "" for none.
std::string Der(PKCS7* p7);

/// A structure parsed from DER; empty where it does not parse.
CUniquePkcs7 Parsed(const std::string& der);

}  // namespace tarnwell::test
