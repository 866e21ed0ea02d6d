// The head of a response and the body behind it. The first byte is the size of the pieces in which
// the stream arrives.

#include <memory>
#include <string>

#include "../tests/unit/net/scripted_connection.h"
#include "common/system/net/http_response.h"
#include "fuzz_support.h"

void tarnwell::Fuzz(std::string_view stream) {
    const std::uint8_t piece = TakeByte(stream);
    test::Wire wire{.stream = std::string(stream), .piece = std::max<std::size_t>(piece, 1)};
    std::unique_ptr<CHttpConnection> connection = std::make_unique<test::CScriptedConnection>(wire);
    const auto holds = [](const CISOString& text, const char* any) {
        return text.AsView().find_first_of(any) != std::string_view::npos;
    };
    try {
        const auto response = CHttpResponse::Read(connection);
        // Carriage returns count for nothing anywhere in the head.
        std::string first(stream.substr(0, stream.find('\n')));
        std::erase(first, '\r');
        Require(!connection && first.starts_with("HTTP/1.") && !holds(response->Reason(), "\r\n"));
        std::size_t headSize = 0;
        for (const auto& [name, value] : response->Headers()) {
            Require(!holds(name, ":\r\n") && !name.AsView().ends_with(' '));
            Require(!holds(value, "\r\n") && !value.AsView().starts_with(' ') &&
                    !value.AsView().ends_with(' '));
            headSize += name.Length() + value.Length() + 1;
        }
        const ByteArray& body = response->ReadAll();
        Require(headSize <= kMaxHeadBytes && headSize + body.size() <= stream.size());
        Require(stream.ends_with(TextOf(body)));
    } catch (const CHttpException& error) {
        Require(error.Message() == "Bad HTTP response");
    }
}
