#pragma once

// Names of PKCS#11 return values, as the PKCS #11 Cryptographic Token Interface Base
// Specification (versions 2.40 and 3.0) gives them. Pure.

namespace tarnwell::zellog {

/// CkErrorName gives "CKR_PIN_INCORRECT" and the like, null for a value without a name here.
const char* CkErrorName(unsigned long code) noexcept;

}  // namespace tarnwell::zellog
