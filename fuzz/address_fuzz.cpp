// Addresses: whatever the text, parsing splits it and loses nothing.

#include <string>

#include "common/system/net/http_url.h"
#include "fuzz_support.h"

void tarnwell::Fuzz(std::string_view text) {
    const CHttpUrl url = CHttpUrl::Parse(text);
    if (text.find("://") == std::string_view::npos) {
        Require(!url.valid && url.scheme.IsEmpty() && url.path.IsEmpty());
        return;
    }
    // Scheme, separator, host, whatever stands for the port, and path make up the text again.
    const std::string head = std::string(url.scheme.AsView()) + "://";
    const std::string host(url.host.AsView());
    Require(text.starts_with(head + host) && host.find_first_of(":/") == std::string::npos);
    Require(url.path.AsView().starts_with('/'));
    std::string_view rest = text.substr(head.size() + host.size());
    if (rest.find('/') != std::string_view::npos) {
        Require(rest.ends_with(url.path));
        rest.remove_suffix(url.path.Length());
    }
    if (rest.empty()) {
        Require(url.valid && url.port == (url.scheme == "https" ? 443u : 80u));
        return;
    }
    Require(rest[0] == ':');
    const std::string digits(rest.substr(1));
    const bool decimal =
        !digits.empty() && digits.find_first_not_of("0123456789") == std::string::npos;
    if (url.valid)
        Require(decimal && std::stoull(digits) == url.port);
    else
        Require(url.port == 0 && (!decimal || digits.size() >= 10));
}
