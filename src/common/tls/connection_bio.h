#pragma once

// What a TLS session reads and writes through: the plain transport of an HTTP connection. OpenSSL's
// own socket layer would cut a 64-bit socket handle to an int, would let a vanished peer raise a
// signal, and would know nothing of the connection's deadline or of its error codes.

#include <openssl/types.h>

#include "common/system/net/http_connection.h"

namespace tarnwell {

/// NewConnectionBio gives a BIO over `connection`'s own socket (never over an override of Send or
/// Receive), or null without memory. The caller owns it, or the session that it is set on; it must
/// not be used after the connection. An error of the socket is left in LastSocketError.
BIO* NewConnectionBio(CHttpConnection& connection) noexcept;

}  // namespace tarnwell
