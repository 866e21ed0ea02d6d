#include "common/tls/connection_bio.h"

#include <algorithm>

#include <openssl/bio.h>

#include "common/system/os/unique.h"

namespace tarnwell {
namespace {

CHttpConnection& ConnectionOf(BIO* bio) noexcept {
    return *static_cast<CHttpConnection*>(BIO_get_data(bio));
}

int Write(BIO* bio, const char* bytes, int length) {
    BIO_clear_retry_flags(bio);
    return ConnectionOf(bio).CHttpConnection::Send(bytes, static_cast<std::uint32_t>(length));
}

int Read(BIO* bio, char* buffer, int capacity) {
    BIO_clear_retry_flags(bio);
    const int received =
        ConnectionOf(bio).CHttpConnection::Receive(buffer, static_cast<std::uint32_t>(capacity));
    if (received == 0)
        BIO_set_flags(bio, BIO_FLAGS_IN_EOF);  // how TLS tells a cut stream from a failing one
    return received;
}

long Control(BIO* bio, int command, long, void*) {
    switch (command) {
        case BIO_CTRL_FLUSH:
            return 1;  // nothing is held back
        case BIO_CTRL_EOF:
            return BIO_test_flags(bio, BIO_FLAGS_IN_EOF) != 0;
        default:
            return 0;
    }
}

using CUniqueBioMethod = CUnique<CPointerTraits<BIO_METHOD, BIO_meth_free>>;

CUniqueBioMethod MakeMethod() noexcept {
    CUniqueBioMethod method(BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "connection"));
    if (!method || !BIO_meth_set_write(method.Get(), Write) ||
        !BIO_meth_set_read(method.Get(), Read) || !BIO_meth_set_ctrl(method.Get(), Control))
        return CUniqueBioMethod();
    return method;
}

}  // namespace

BIO* NewConnectionBio(CHttpConnection& connection) noexcept {
    static const CUniqueBioMethod method = MakeMethod();
    BIO* bio = method ? BIO_new(method.Get()) : nullptr;
    if (bio) {
        BIO_set_data(bio, &connection);
        BIO_set_init(bio, 1);
    }
    return bio;
}

}  // namespace tarnwell
