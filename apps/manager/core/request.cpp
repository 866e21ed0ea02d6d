#include "manager/core/request.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "common/system/net/percent.h"
#include "common/system/text/convert.h"

namespace tarnwell::manager {
namespace {

constexpr std::string_view kPath = "/dyn/tarnwell_init";
constexpr std::string_view kAddress = "127.0.0.1";

constexpr CPKCS7_TYPE kActions[] = {CPKCS7_TYPE::SIGN, CPKCS7_TYPE::ENCRYPT,
                                    CPKCS7_TYPE::SIGNENCRYPT, CPKCS7_TYPE::RECOVER};

/// The parts of a head, views into it.
struct Head {
    std::string_view method;
    std::string_view target;
    std::string_view version;
    std::vector<std::pair<std::string_view, std::string_view>> fields;
};

bool IsLetterOrDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

/// RFC 9110, section 5.6.2: what a method or a field name is made of.
bool IsToken(std::string_view text) {
    constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
    return !text.empty() && std::all_of(text.begin(), text.end(), [&](char c) {
        return IsLetterOrDigit(c) || kMarks.find(c) != std::string_view::npos;
    });
}

bool EqualNoCase(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [&](char x, char y) { return lower(x) == lower(y); });
}

bool IsControl(char c) {
    return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F;
}

/// TakeLine cuts the next line off `rest`; nothing unless it ends with CR LF. (A lone CR or LF is
/// read differently by different programs, which is how requests are smuggled past checks.)
std::optional<std::string_view> TakeLine(std::string_view& rest) {
    const std::size_t end = rest.find('\n');
    if (end == std::string_view::npos || end == 0 || rest[end - 1] != '\r')
        return std::nullopt;
    const std::string_view line = rest.substr(0, end - 1);
    rest.remove_prefix(end + 1);
    return line;
}

/// ReadHead takes a head apart (RFC 9112, sections 3 and 5); says what is wrong with it, "" if
/// nothing is.
std::string_view ReadHead(std::string_view text, Head& head) {
    std::optional<std::string_view> line = TakeLine(text);
    if (!line)
        return "The request line does not end with CR LF.";
    const std::size_t first = line->find(' ');
    const std::size_t last = line->rfind(' ');
    if (first == std::string_view::npos || first == last)
        return "The request line is not a method, a target and a version.";
    head.method = line->substr(0, first);
    head.target = line->substr(first + 1, last - first - 1);
    head.version = line->substr(last + 1);
    if (!IsToken(head.method))
        return "The method is not a token.";
    const bool plain = std::all_of(head.target.begin(), head.target.end(),
                                   [](char c) { return c > 0x20 && c < 0x7F && c != '#'; });
    if (!plain || !head.target.starts_with('/'))
        return "The target is not a path of printable ASCII characters.";

    while (!text.empty()) {
        line = TakeLine(text);
        if (!line)
            return "A header line does not end with CR LF.";
        const std::size_t colon = line->find(':');
        if (colon == std::string_view::npos || !IsToken(line->substr(0, colon)))
            return "A header line does not start with a name and a colon.";
        const std::string_view value = Trimmed(line->substr(colon + 1), " \t");
        if (std::any_of(value.begin(), value.end(), IsControl))
            return "A header value holds control characters.";
        head.fields.emplace_back(line->substr(0, colon), value);
    }
    return "";
}

/// OnlyField gives the field's value; nothing where it is missing or comes more than once.
std::optional<std::string_view> OnlyField(const Head& head, std::string_view name) {
    std::optional<std::string_view> found;
    for (const auto& [fieldName, value] : head.fields) {
        if (!EqualNoCase(fieldName, name))
            continue;
        if (found)
            return std::nullopt;
        found = value;
    }
    return found;
}

bool AnnouncesBody(const Head& head) {
    return std::any_of(head.fields.begin(), head.fields.end(), [](const auto& field) {
        return EqualNoCase(field.first, "Transfer-Encoding") ||
               (EqualNoCase(field.first, "Content-Length") && field.second != "0");
    });
}

/// Decoded undoes the percent coding; nothing where an escape is not "%" and two hexadecimal
/// digits, which the shared decoder would read in its own lenient way.
std::optional<std::string> Decoded(std::string_view text) {
    for (std::size_t at = text.find('%'); at != std::string_view::npos;
         at = text.find('%', at + 3)) {
        if (text.size() - at < 3 || HexValue(text[at + 1]) < 0 || HexValue(text[at + 2]) < 0)
            return std::nullopt;
    }
    const std::vector<std::uint8_t> bytes = PercentDecodeBytes(text);
    return std::string(bytes.begin(), bytes.end());
}

/// OnlyKey gives the query's value for `key`, still encoded; nothing where the key is missing or
/// comes more than once.
std::optional<std::string_view> OnlyKey(std::string_view query, std::string_view key) {
    std::optional<std::string_view> found;
    while (!query.empty()) {
        const std::string_view pair = query.substr(0, query.find('&'));
        query.remove_prefix(std::min(pair.size() + 1, query.size()));
        const std::size_t equals = pair.find('=');
        if (pair.substr(0, equals) != key)
            continue;
        if (found || equals == std::string_view::npos)
            return std::nullopt;
        found = pair.substr(equals + 1);
    }
    return found;
}

std::optional<CPKCS7_TYPE> ActionOf(std::string_view name) {
    for (const CPKCS7_TYPE action : kActions) {
        if (TypeName(action) == name)
            return action;
    }
    return std::nullopt;
}

Judgement JudgeQuery(std::string_view query) {
    const std::optional<std::string_view> actionText = OnlyKey(query, "action");
    if (!actionText)
        return Refusal{400, "The query does not name one action."};
    const std::optional<CPKCS7_TYPE> action = ActionOf(*actionText);
    if (!action)
        return Refusal{400, "The action is not SIGN, ENCRYPT, SIGNENCRYPT or RECOVER."};
    const std::optional<std::string_view> list = OnlyKey(query, "files");
    if (!list || list->empty())
        return Refusal{400, "The query does not name files."};
    std::optional<std::string> files = Decoded(*list);
    if (!files)
        return Refusal{400, "The file list is not percent-encoded."};
    const auto isLow = [](char c) { return static_cast<unsigned char>(c) < 0x20; };
    if (std::any_of(files->begin(), files->end(), isLow))
        return Refusal{400, "The file list holds control characters."};
    return Command{*action, std::move(*files)};
}

}  // namespace

Judgement JudgeRequest(std::string_view head, std::uint16_t port, std::string_view origin) {
    Head parts;
    if (const std::string_view problem = ReadHead(head, parts); !problem.empty())
        return Refusal{400, std::string(problem)};
    if (parts.version != "HTTP/1.0" && parts.version != "HTTP/1.1") {
        const bool isHttp = parts.version.starts_with("HTTP/");
        return isHttp ? Refusal{505, "Only HTTP/1.0 and HTTP/1.1 are spoken here."}
                      : Refusal{400, "The request line does not end with an HTTP version."};
    }
    const std::size_t mark = parts.target.find('?');
    if (parts.target.substr(0, mark) != kPath)
        return Refusal{404, "There is only " + std::string(kPath) + " here."};
    if (parts.method != "GET")
        return Refusal{405, "Only GET is answered here."};
    if (AnnouncesBody(parts))
        return Refusal{400, "A GET carries no content here."};

    // A name that an attacker's name server points to 127.0.0.1 shows in Host.
    const std::optional<std::string_view> host = OnlyField(parts, "Host");
    if (!host)
        return Refusal{400, "The request does not carry one Host."};
    if (*host != kAddress && *host != std::string(kAddress) + ":" + std::to_string(port))
        return Refusal{421, "The Host is not 127.0.0.1."};
    // No page can make a browser send another origin than its own, or send this one.
    if (OnlyField(parts, "Origin") != origin)
        return Refusal{403, "The Origin is not the extension's."};

    return JudgeQuery(mark == std::string_view::npos ? std::string_view()
                                                     : parts.target.substr(mark + 1));
}

}  // namespace tarnwell::manager
