// Asks for addresses through the project's own client and tells what came of each, one line an
// address, so that a script can hold the client against servers that it starts:
//
//     http_client [--form=BODY] ADDRESS...
//
//     200 OK; 5 headers; body 1234 bytes, fnv1a 9a3c…      the answer, read to its end
//     error Connection failed: Connection refused          the exception's message

#include <cinttypes>
#include <cstdio>
#include <exception>
#include <string_view>

#include "common/system/net/http_request.h"

using namespace tarnwell;

namespace {

void Tell(const char* address, const char* form) try {
    CHttpConnectionFactory factory;
    const auto response = form ? PostForm(factory, CHttpUrl::Parse(address), form, true)
                               : Get(factory, address, true);
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const std::uint8_t byte : response->ReadAll())
        hash = (hash ^ byte) * 0x100000001B3;
    std::printf("%u %s; %zu headers; body %zu bytes, fnv1a %016" PRIx64 "\n",
                response->StatusCode(), response->Reason().CStr(), response->Headers().size(),
                response->Body().size(), hash);
} catch (const std::exception& error) {
    std::printf("error %s\n", error.what());
}

}  // namespace

int main(int count, char** arguments) {
    constexpr std::string_view kForm = "--form=";
    const char* form = nullptr;
    for (int i = 1; i < count; ++i) {
        if (std::string_view(arguments[i]).starts_with(kForm))
            form = arguments[i] + kForm.size();
        else
            Tell(arguments[i], form);
    }
}
