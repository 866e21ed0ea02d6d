// Multipart parts: the first byte is the size of the pieces in which the stream arrives, the second
// the length of the boundary that follows; the rest is the stream. Held against a plain search.

#include <string>

#include "../tests/unit/net/scripted_connection.h"
#include "common/system/net/http_server.h"
#include "fuzz_support.h"

void tarnwell::Fuzz(std::string_view input) {
    const std::uint8_t piece = TakeByte(input), boundaryLength = TakeByte(input);
    const std::string_view boundary = input.substr(0, boundaryLength);
    std::string_view rest = input.substr(boundary.size());
    test::Wire wire{.stream = std::string(rest), .piece = std::max<std::size_t>(piece, 1)};
    test::CScriptedConnection connection(wire);

    ByteArray part;
    for (bool first = true;; first = false) {
        const std::string delimiter = std::string(first ? "--" : "\r\n--").append(boundary);
        const auto end = boundary.empty() ? std::string_view::npos : rest.find(delimiter);
        try {
            ReadMultipartPart(connection, boundary, part, first);
        } catch (const CHttpException& error) {
            Require(end == std::string_view::npos && error.Message() == "Invalid multipart data");
            return;
        }
        Require(end != std::string_view::npos);
        Require(TextOf(part) == rest.substr(0, end));
        rest.remove_prefix(end + delimiter.size());
    }
}
