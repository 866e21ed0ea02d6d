#pragma once

// The server's few pieces, for the manager side of the loopback link: writing an answer and
// reading a posted form's parts. Requests are read with CHttpConnection::ReadLine and a budget.

#include <cstdint>
#include <string_view>

#include "common/system/net/http_connection.h"

namespace tarnwell {

/// No Content-Length line: the body ends with the connection.
inline constexpr std::int64_t kUnknownLength = -1;

/// WriteResponseHead sends a head with status 200, the connection's allowed origin if it has one,
/// and Content-Length for a length of 0 or more. Throws CHttpException as SendAll.
void WriteResponseHead(CHttpConnection& connection, std::string_view contentType,
                       std::int64_t contentLength, bool noCache);

/// WriteResponse sends a head without a length and then `body` and a line end. Throws as above.
void WriteResponse(CHttpConnection& connection, std::string_view contentType,
                   std::string_view body);

/// ReadMultipartPart reads the stream into `output` up to the next delimiter (RFC 2046, section
/// 5.1.1) and takes the delimiter itself off the stream: "--" and the boundary for the first
/// part, the same behind CR LF for the others. Bounded by the stream only: the caller has judged
/// its length. Throws CHttpException "Invalid multipart data" for an empty boundary and when the
/// stream ends first, "Unable to receive data: …".
void ReadMultipartPart(CHttpConnection& connection, std::string_view boundary, ByteArray& output,
                       bool firstPart);

}  // namespace tarnwell
