#include "manager/core/options.h"

#include <algorithm>
#include <cstdint>

#include "common/system/text/convert.h"

namespace tarnwell::manager {
namespace {

constexpr std::uint32_t kMaxIdleSeconds = 24 * 60 * 60;

std::string Narrow(std::u16string_view text) {
    return std::string(Utf8FromUtf16(text).AsView());
}

bool ReadIdle(std::u16string_view text, std::chrono::seconds& idle) {
    const std::optional<std::uint32_t> value = ParseUnsigned(Narrow(text));
    if (!value || *value == 0 || *value > kMaxIdleSeconds)
        return false;
    idle = std::chrono::seconds(*value);
    return true;
}

/// Walks the arguments; an option's value is behind its "=" or the next argument.
class CArguments {
public:
    explicit CArguments(const std::vector<std::u16string>& arguments) : m_arguments(arguments) {}

    bool Next() {
        if (m_next == m_arguments.size())
            return false;
        const std::u16string_view argument = m_arguments[m_next++];
        const std::size_t equals = argument.find(u'=');
        m_hasValue = argument.starts_with(u"--") && equals != std::u16string_view::npos;
        m_name = argument.substr(0, m_hasValue ? equals : std::u16string_view::npos);
        m_value = m_hasValue ? argument.substr(equals + 1) : std::u16string_view();
        return true;
    }

    bool Is(std::u16string_view name) const { return m_name == name && !m_hasValue; }
    bool HasName(std::u16string_view name) const { return m_name == name; }
    std::u16string_view Name() const { return m_name; }

    /// TakeValue gives the option's value; nothing where there is none or it is empty.
    std::optional<std::u16string_view> TakeValue() {
        if (!m_hasValue && m_next < m_arguments.size())
            m_value = m_arguments[m_next++];
        return m_value.empty() ? std::nullopt : std::optional(m_value);
    }

private:
    const std::vector<std::u16string>& m_arguments;
    std::size_t m_next = 0;
    std::u16string_view m_name;
    std::u16string_view m_value;
    bool m_hasValue = false;
};

/// ReadPath takes the value of --home or --log.
void ReadPath(CArguments& arguments, std::u16string& path, std::string& problem) {
    const std::u16string_view name = arguments.Name();
    if (const auto value = arguments.TakeValue())
        path = *value;
    else
        problem = Narrow(name) + " needs a path.";
}

char16_t LowerAscii(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
}

/// The place behind the first `name` in `text`, whatever its case, that ends there or at a blank.
std::size_t EndOfName(std::u16string_view text, std::u16string_view name) {
    const auto same = [](char16_t a, char16_t b) { return LowerAscii(a) == LowerAscii(b); };
    for (std::size_t end = name.size(); !name.empty() && end <= text.size(); ++end) {
        const std::u16string_view candidate = text.substr(end - name.size(), name.size());
        if ((end == text.size() || text[end] == u' ') &&
            std::equal(candidate.begin(), candidate.end(), name.begin(), name.end(), same))
            return end;
    }
    return std::u16string_view::npos;
}

}  // namespace

Options ParseOptions(const std::vector<std::u16string>& arguments, const Environment& environment) {
    Options options;
    options.home = environment(u"CORVANE_HOME").value_or(u"");
    options.log = environment(u"CORVANE_LOG").value_or(u"");
    options.open = environment(u"CORVANE_NO_OPEN").value_or(u"").empty();

    CArguments words(arguments);
    while (options.problem.empty() && words.Next()) {
        if (words.Is(u"/standalone") || words.Is(u"--standalone")) {
            options.run = Run::kStandalone;
        } else if (words.Is(u"--help") || words.Is(u"-h") || words.Is(u"/?")) {
            options.run = Run::kHelp;
            return options;
        } else if (words.Is(u"--version")) {
            options.run = Run::kVersion;
            return options;
        } else if (words.Is(u"--no-open")) {
            options.open = false;
        } else if (words.HasName(u"--home")) {
            ReadPath(words, options.home, options.problem);
        } else if (words.HasName(u"--log")) {
            ReadPath(words, options.log, options.problem);
        } else if (words.HasName(u"--idle-seconds")) {
            const auto value = words.TakeValue();
            if (!value || !ReadIdle(*value, options.idle))
                options.problem = "--idle-seconds needs a number from 1 to 86400.";
        } else {
            options.problem = "There is no option \"" + Narrow(words.Name()) + "\".";
        }
    }
    if (options.problem.empty() && options.run == Run::kExplain && !arguments.empty())
        options.problem = "Options alone start nothing: add /standalone.";
    return options;
}

std::u16string_view ArgumentText(std::u16string_view commandLine, std::u16string_view module) {
    std::size_t end = std::u16string_view::npos;
    if (commandLine.starts_with(u'"')) {
        end = commandLine.find(u'"', 1);
        end = end == std::u16string_view::npos ? end : end + 1;
    } else {
        const std::u16string_view name = module.substr(module.rfind(u'\\') + 1);
        end = EndOfName(commandLine, name);
        end = end == std::u16string_view::npos ? commandLine.find(u' ') : end;
    }
    return end == std::u16string_view::npos ? std::u16string_view() : commandLine.substr(end);
}

std::string ExplainText() {
    return R"(Corvane, the development manager of Tarnwell.

Tarnwell's menu items in the explorer start this program by themselves, hand it
one request over loopback HTTP and leave the work to it. There is nothing to do
by hand, but you can try it from a shell:

  Corvane.exe /standalone     prints a port and waits for one request on it
  Corvane.exe --help          tells everything
)";
}

std::string HelpText(std::string_view home, std::string_view log) {
    std::string text =
        R"(Corvane, the development manager of Tarnwell: signs, encrypts and opens files
with a demo certificate where no card software is installed.

  Corvane.exe /standalone [OPTION...]

Listens on a free port of 127.0.0.1, writes the port to standard output (digits
only), takes one request, answers it, does the work and exits:

  GET /dyn/tarnwell_init?action=ACTION&files=FILES HTTP/1.0
  Origin: the extension's own (anything else is refused with 403)
  Host: 127.0.0.1

  ACTION  SIGN, ENCRYPT or SIGNENCRYPT: report.pdf becomes report.pdf.p7 beside
          it, or report.pdf (2).p7 where that exists; nothing is overwritten.
          RECOVER: report.pdf.p7 becomes report.pdf and is opened. Programs and
          content whose signature does not match are written, never opened.
  FILES   full paths, joined with commas, percent-encoded UTF-8

Options:
  --idle-seconds N  wait N seconds for the request instead of 60
  --no-open         do not open what RECOVER writes   (or set CORVANE_NO_OPEN=1)
  --home FOLDER     keep identity and log there           (or CORVANE_HOME)
  --log FILE        append the log to FILE                (or CORVANE_LOG)
  --version         print the version
  --help            print this

The first start makes a demo CA and a demo signer (RSA 3072, SHA-256). They are
for trying things out: anybody who can read your profile can use the keys. The
system's trust store is never touched.

)";
    text.append("Identity  ").append(home).append("\\demo-identity\n");
    text.append("Log       ").append(log).append("\n");
    text += R"(
Exit status:
  0  every file was done          3  the request was refused, nothing was done
  1  some file failed             4  no request came in time
  2  wrong command line           5  the manager itself failed
The log says what was done, file by file, and why something was not.
)";
    return text;
}

}  // namespace tarnwell::manager
