// Addresses: whatever the text, parsing splits it and loses nothing.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "common/system/net/http_url.h"

using namespace tarnwell;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const CHttpUrl url = CHttpUrl::Parse(text);

    const auto start = text.find("://");
    if (start == std::string_view::npos) {
        if (url.valid || !url.scheme.IsEmpty() || !url.path.IsEmpty())
            __builtin_trap();
        return 0;
    }
    // Scheme, separator, host, whatever stands for the port, and path make up the text again.
    const std::string head = std::string(url.scheme.AsView()) + "://";
    const std::string host = head + std::string(url.host.AsView());
    if (!text.starts_with(host) || url.path.IsEmpty() || url.path[0] != '/' ||
        url.host.Find('/') != CISOString::npos || url.host.Find(':') != CISOString::npos)
        __builtin_trap();
    std::string_view rest = text.substr(host.size());
    if (rest.ends_with(url.path.AsView()) && text.find('/', head.size()) != std::string_view::npos)
        rest.remove_suffix(url.path.Length());
    if (rest.empty()) {
        if (!url.valid || url.port != (url.scheme == "https" ? 443u : 80u))
            __builtin_trap();
        return 0;
    }
    const std::string_view digits = rest.substr(1);
    if (rest[0] != ':')
        __builtin_trap();
    const bool decimal =
        !digits.empty() && digits.find_first_not_of("0123456789") == std::string_view::npos;
    if (url.valid && (!decimal || std::stoull(std::string(digits)) != url.port))
        __builtin_trap();
    if (!url.valid && (url.port != 0 || (decimal && digits.size() < 10)))
        __builtin_trap();
    return 0;
}
