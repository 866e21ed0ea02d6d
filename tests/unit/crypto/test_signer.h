#pragma once

// Keys, self-signed certificates and digest objects that live for one test.

#include <string>
#include <vector>

#include "common/crypto/openssl_owners.h"
#include "common/crypto/pkcs7_request.h"
#include "common/system/text/string.h"

namespace tarnwell::test {

enum class EKeyKind { kRsa, kEc, kEd25519 };

/// A key with its certificate. Keys of one kind are made once a process: RSA takes its time.
struct TestSigner {
    TestSigner(EKeyKind kind, const std::string& commonName);
    CUniqueKey key;
    CUniqueX509 certificate;
};

/// A SHA-256 of the test's own that counts its calls, and fails where it is told to.
class CCountingDigest {
public:
    CCountingDigest();
    ~CCountingDigest();
    CCountingDigest(const CCountingDigest&) = delete;
    CCountingDigest& operator=(const CCountingDigest&) = delete;

    const EVP_MD* Get() const noexcept { return m_digest; }

    enum EStep { kInit, kUpdate, kFinal, kNowhere };
    struct Calls {
        int inits = 0;
        int finals = 0;
        std::size_t bytes = 0;
        EStep failsAt = kNowhere;
    };
    Calls& Log() noexcept { return m_calls; }

private:
    friend struct DigestCallbacks;
    EVP_MD* m_digest;
    Calls m_calls;
};

/// What "SHA256" stands for in OpenSSL's name table.
const char* RegisteredSha256();

/// The DER of a structure.
std::string Der(PKCS7* p7);

/// A structure parsed from DER; empty where it does not parse.
CUniquePkcs7 Parsed(const std::string& der);

/// The label of the signer's certificate, "-" without one.
std::string Label(const SignerInfo& signer);

}  // namespace tarnwell::test
