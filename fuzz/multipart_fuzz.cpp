// Multipart parts: the first byte is the size of the pieces in which the stream arrives, the second
// the length of the boundary that follows; the rest is the stream. Held against a plain search.

#include <string>

#include "common/system/net/http_server.h"
#include "fuzz_connection.h"
#include "fuzz_support.h"

using namespace tarnwell;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    const std::string_view all = TextOf(data + 2, size - 2);
    const std::string_view boundary = all.substr(0, data[1]);
    std::string_view rest = all.substr(boundary.size());
    CFuzzConnection connection(rest, data[0]);

    ByteArray part;
    for (bool first = true;; first = false) {
        const std::string delimiter = std::string(first ? "--" : "\r\n--").append(boundary);
        const auto end = boundary.empty() ? std::string_view::npos : rest.find(delimiter);
        try {
            ReadMultipartPart(connection, boundary, part, first);
        } catch (const CHttpException& error) {
            Require(end == std::string_view::npos && error.Message() == "Invalid multipart data");
            return 0;
        }
        Require(end != std::string_view::npos);
        Require(TextOf(part.data(), part.size()) == rest.substr(0, end));
        rest.remove_prefix(end + delimiter.size());
    }
}
