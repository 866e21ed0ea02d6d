#pragma once

// The life of the OpenSSL that is linked into this module. Left alone, it registers its clean-up
// with the C runtime of the whole process, which calls it at the process's end: a DLL that was
// unloaded by then is jumped into where nothing is any more. Any thread may call.

namespace tarnwell {

/// StartOpenSsl starts libcrypto so that it is cleaned up with this module: when the DLL is
/// unloaded, or when the program ends. It must come before the module's first call of libcrypto;
/// later calls cost nothing.
void StartOpenSsl() noexcept;

}  // namespace tarnwell
