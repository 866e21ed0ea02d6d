#include "common/system/net/http_head.h"

#include "common/system/text/convert.h"

namespace tarnwell {

std::optional<CStatusLine> ParseStatusLine(std::string_view line) noexcept {
    constexpr std::string_view kVersion = "HTTP/1.";

    const auto versionEnd = line.find(' ');
    if (versionEnd != kVersion.size() + 1 || !line.starts_with(kVersion))
        return std::nullopt;
    const std::string_view rest = line.substr(versionEnd + 1);
    const auto codeEnd = rest.find(' ');
    const auto code = ParseUnsigned(rest.substr(0, codeEnd));
    if (!code)
        return std::nullopt;
    if (codeEnd == std::string_view::npos)
        return CStatusLine{*code, {}};
    return CStatusLine{*code, rest.substr(codeEnd + 1)};
}

std::optional<CHeaderLine> ParseHeaderLine(std::string_view line) noexcept {
    const auto colon = line.find(':');
    if (colon == std::string_view::npos)
        return std::nullopt;
    // Blanks before the name stay: only what stands between the name and its colon is dropped.
    const std::string_view name = line.substr(0, colon);
    return CHeaderLine{name.substr(0, name.find_last_not_of(' ') + 1),
                       Trimmed(line.substr(colon + 1), " ")};
}

}  // namespace tarnwell
