#pragma once

// Certificates and private keys from the user's files.

#include <stdexcept>

#include "common/crypto/openssl_owners.h"
#include "common/crypto/pkcs7_error.h"
#include "p7tool/command_line.h"

namespace tarnwell::p7tool {

/// A file that holds no usable certificate or key; what() says which and what to do.
class EKeyFile : public std::runtime_error {
public:
    EKeyFile(const std::string& message, CPKCS7_ERROR code)
        : std::runtime_error(message), m_code(code) {}
    /// ERROR_CERT_PARAMS or ERROR_PK_PARAMS.
    CPKCS7_ERROR Code() const noexcept { return m_code; }

private:
    CPKCS7_ERROR m_code;
};

/// LoadCertificate reads the first certificate of a PEM file, or one in DER. Throws EKeyFile.
CUniqueX509 LoadCertificate(const CUTF16String& path);

struct KeyPair {
    CUniqueX509 certificate;
    CUniqueKey key;
};

/// LoadKeyPair reads both files and checks that they belong together. Throws EKeyFile.
KeyPair LoadKeyPair(const KeyFiles& files);

}  // namespace tarnwell::p7tool
