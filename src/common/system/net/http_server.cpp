#include "common/system/net/http_server.h"

#include "common/system/net/multipart.h"
#include "common/system/text/format.h"

namespace tarnwell {

void WriteResponseHead(CHttpConnection& connection, std::string_view contentType,
                       std::int64_t contentLength, bool noCache) {
    connection.SendLine("HTTP/1.1 200 OK");
    connection.SendLine("Server: Kestrix");
    if (!connection.AllowedOrigin().IsEmpty())
        connection.SendLine(CISOString("Access-Control-Allow-Origin: ") +
                            connection.AllowedOrigin());
    connection.SendLine("Connection: close");
    if (noCache) {
        connection.SendLine("Cache-Control: no-cache, no-store, must-revalidate");
        connection.SendLine("Pragma: no-cache");
        connection.SendLine("Expires: 0");
    }
    connection.SendLine(CISOString("Content-Type: ") + contentType);
    if (contentLength >= 0)
        connection.SendLine(CTFmtArgs<CISOEncoding>()
                                .Add(static_cast<std::uint64_t>(contentLength))
                                .Format("Content-Length: %1"));
    connection.SendLine("");
}

void WriteResponse(CHttpConnection& connection, std::string_view contentType,
                   std::string_view body) {
    WriteResponseHead(connection, contentType, kUnknownLength, false);
    connection.SendLine(body);
}

void ReadMultipartPart(CHttpConnection& connection, std::string_view boundary, ByteArray& output,
                       bool firstPart) {
    output.clear();
    if (boundary.empty())
        throw CHttpException("Invalid multipart data");
    CDelimiterScanner scanner(CDelimiterScanner::DelimiterOf(boundary, firstPart));
    for (;;) {
        const auto byte = connection.ReadByte();
        if (!byte)
            throw CHttpException("Invalid multipart data");
        if (scanner.Take(*byte, output))
            return;
    }
}

}  // namespace tarnwell
