#include "common/system/net/http_url.h"

#include "common/system/text/convert.h"

namespace tarnwell {
namespace {

constexpr std::uint32_t kHttpPort = 80;
constexpr std::uint32_t kHttpsPort = 443;

}  // namespace

CHttpUrl CHttpUrl::Parse(std::string_view text) {
    constexpr std::string_view kSeparator = "://";

    CHttpUrl url;
    const auto schemeEnd = text.find(kSeparator);
    if (schemeEnd == std::string_view::npos)
        return url;
    url.valid = true;
    url.scheme = CISOString(text.substr(0, schemeEnd));

    const std::string_view rest = text.substr(schemeEnd + kSeparator.size());
    const auto hostEnd = rest.find('/');
    url.path =
        hostEnd == std::string_view::npos ? CISOString("/") : CISOString(rest.substr(hostEnd));

    const std::string_view host = rest.substr(0, hostEnd);
    const auto colon = host.find(':');
    url.host = CISOString(host.substr(0, colon));
    if (colon == std::string_view::npos) {
        url.port = url.scheme == "https" ? kHttpsPort : kHttpPort;
        return url;
    }
    const auto port = ParseUnsigned(host.substr(colon + 1));
    url.valid = port.has_value();
    url.port = port.value_or(0);
    return url;
}

}  // namespace tarnwell
