#pragma once

// Names of PKCS#11 return values: all that the PKCS #11 Cryptographic Token Interface Base
// Specification defines up to version 3.2, and what 2.x defined and 3.x dropped. Pure.

namespace tarnwell::zellog {

/// CkErrorName gives "CKR_PIN_INCORRECT" and the like, null for a value without a name here.
const char* CkErrorName(unsigned long code) noexcept;

}  // namespace tarnwell::zellog
