#pragma once

// The requests of the client, HTTP/1.0 (RFC 1945), one a connection. Each returns the response,
// owned by the caller, with its head read. All throw CHttpException with a message that says what
// failed; a connection that a request created dies with the request.

#include <memory>
#include <string_view>

#include "common/system/net/http_connection.h"
#include "common/system/net/http_response.h"
#include "common/system/text/string.h"

namespace tarnwell {

/// What the client sends as its origin, and what the manager demands before it does anything. A
/// bare host name on purpose: a browser's origin always has a scheme (RFC 6454, section 6.1), so
/// no web page can send this one, whatever host it was loaded from.
inline constexpr char kOrigin[] = "tarnwell.localhost";

/// Get asks for `address` on a connection of the factory's.
std::unique_ptr<CHttpResponse> Get(CHttpConnectionFactory& factory, const CISOString& address,
                                   bool withOrigin);

/// PostText posts `body` as text/plain on a connection that the caller has connected. The
/// response takes the connection over; with `noResponse` none is read, the connection stays the
/// caller's and the result is null. A null connection does nothing and gives null.
std::unique_ptr<CHttpResponse> PostText(std::unique_ptr<CHttpConnection>& connection,
                                        const CHttpUrl& url, std::string_view body, bool withOrigin,
                                        bool keepAlive, bool noResponse);

/// PostForm posts `body`, an encoded form, on a new connection of the factory's.
std::unique_ptr<CHttpResponse> PostForm(CHttpConnectionFactory& factory, const CHttpUrl& url,
                                        std::string_view body, bool withOrigin);

/// PostForm on a connection that the caller has connected; the response takes it over.
std::unique_ptr<CHttpResponse> PostForm(std::unique_ptr<CHttpConnection>& connection,
                                        const CHttpUrl& url, std::string_view body,
                                        bool withOrigin);

}  // namespace tarnwell
