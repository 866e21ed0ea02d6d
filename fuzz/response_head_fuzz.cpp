// The head of a response and the body behind it. The first byte is the size of the pieces in which
// the stream arrives.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "common/system/net/http_response.h"
#include "fuzz_connection.h"

using namespace tarnwell;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::string_view stream(reinterpret_cast<const char*>(data + 1), size - 1);
    std::unique_ptr<CHttpConnection> connection =
        std::make_unique<CFuzzConnection>(stream, data[0]);
    try {
        const auto response = CHttpResponse::Read(connection);
        // Carriage returns count for nothing anywhere in the head.
        std::string first(stream.substr(0, stream.find('\n')));
        std::erase(first, '\r');
        if (connection || !first.starts_with("HTTP/1.") ||
            response->Reason().AsView().find_first_of("\r\n") != std::string_view::npos)
            __builtin_trap();
        std::size_t headSize = 0;
        for (const auto& [name, value] : response->Headers()) {
            const std::string_view content = value.AsView();
            if (name.AsView().find_first_of(":\r\n") != std::string_view::npos ||
                name.AsView().ends_with(' ') ||
                content.find_first_of("\r\n") != std::string_view::npos ||
                content.starts_with(' ') || content.ends_with(' '))
                __builtin_trap();
            headSize += name.Length() + value.Length() + 1;
        }
        const ByteArray& body = response->ReadAll();
        const std::string_view bytes(reinterpret_cast<const char*>(body.data()), body.size());
        if (headSize > kMaxHeadBytes || headSize + body.size() > stream.size() ||
            !stream.ends_with(bytes))
            __builtin_trap();
    } catch (const CHttpException& error) {
        if (error.Message() != "Bad HTTP response")
            __builtin_trap();
    }
    return 0;
}
