#pragma once

// The life of the OpenSSL that is linked into this module. Left alone, it registers its clean-up
// with the C runtime of the whole process, which calls it at the process's end: a DLL that was
// unloaded by then is jumped into where nothing is any more. Any thread may call.

namespace tarnwell {

/// StartOpenSsl starts libcrypto so that it is cleaned up with this module: when the DLL is
/// unloaded, or when the program ends. It must come before the module's first call of libcrypto;
/// later calls cost nothing.
void StartOpenSsl() noexcept;

/// Gives back, when it goes, what OpenSSL keeps for the calling thread, such as its list of errors.
/// Nobody else would: Windows does not tell a library linked into a DLL that a thread ends, and the
/// explorer's come and go. OpenSSL may be used again on the thread afterwards.
class COpenSslThreadShare {
public:
    COpenSslThreadShare() noexcept = default;
    ~COpenSslThreadShare();
    COpenSslThreadShare(const COpenSslThreadShare&) = delete;
    COpenSslThreadShare& operator=(const COpenSslThreadShare&) = delete;
};

}  // namespace tarnwell
