#include "common/crypto/openssl_start.h"

#include <openssl/crypto.h>

namespace tarnwell {
namespace {

struct OpenSslLife {
    OpenSslLife() noexcept { OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr); }
    // Only frees memory, so it may run under the loader lock.
    ~OpenSslLife() { OPENSSL_cleanup(); }
};

}  // namespace

void StartOpenSsl() noexcept {
    static const OpenSslLife life;
}

COpenSslThreadShare::~COpenSslThreadShare() {
    OPENSSL_thread_stop();
}

}  // namespace tarnwell
