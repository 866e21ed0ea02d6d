#include "p7tool/command_line.h"

#include <optional>
#include <string_view>

#include "common/system/text/convert.h"

namespace tarnwell::p7tool {

namespace {

std::string Utf8(const CUTF16String& text) {
    return std::string(Utf8FromUtf16(text.AsView()).AsView());
}

/// The options of the command line in turn; values that belong to them are taken on the way.
class CReader {
public:
    explicit CReader(const std::vector<CUTF16String>& arguments) : m_arguments(arguments) {}

    bool AtEnd() const noexcept { return m_next >= m_arguments.size(); }

    /// Next takes an option's name ("--key") or nothing, and then `value` is a file.
    std::optional<std::string> Next(CUTF16String& value) {
        const CUTF16String argument = m_arguments[m_next++];
        if (m_onlyFiles || !argument.StartsWith(u"-") || argument == u"-") {
            value = argument;
            return std::nullopt;
        }
        if (argument == u"--") {
            m_onlyFiles = true;
            return std::string();
        }
        const std::size_t equals = argument.Find(u'=');
        m_name = Utf8(argument.Sub(0, equals));
        m_hasValue = equals != CUTF16String::npos;
        m_value = m_hasValue ? argument.Sub(equals + 1) : CUTF16String();
        return m_name;
    }

    /// Value takes the value of the option that Next has just given.
    CUTF16String Value() {
        if (!m_hasValue && AtEnd())
            throw EUsage(m_name + " needs a file behind it");
        CUTF16String value = m_hasValue ? m_value : m_arguments[m_next++];
        if (value.IsEmpty())
            throw EUsage(m_name + " needs a file behind it, not an empty text");
        return value;
    }

private:
    const std::vector<CUTF16String>& m_arguments;
    std::size_t m_next = 1;  // behind the command
    bool m_onlyFiles = false;
    std::string m_name;
    bool m_hasValue = false;
    CUTF16String m_value;
};

bool Signs(const CommandLine& line) noexcept {
    return line.command == ECommand::kBuild && line.type != CPKCS7_TYPE::ENCRYPT;
}

bool Encrypts(const CommandLine& line) noexcept {
    return line.command == ECommand::kBuild && line.type != CPKCS7_TYPE::SIGN;
}

CommandLine CommandNamed(const CUTF16String& name) {
    CommandLine line;
    const std::string text = Utf8(name);
    if (text == "info") {
        line.command = ECommand::kInfo;
    } else if (text == "recover") {
        line.command = ECommand::kRecover;
    } else if (text == "sign" || text == "encrypt" || text == "signencrypt") {
        line.command = ECommand::kBuild;
        line.type = text == "sign"      ? CPKCS7_TYPE::SIGN
                    : text == "encrypt" ? CPKCS7_TYPE::ENCRYPT
                                        : CPKCS7_TYPE::SIGNENCRYPT;
    } else if (text == "--version") {
        line.command = ECommand::kVersion;
    } else if (text != "--help" && text != "-h" && text != "help") {
        throw EUsage("there is no command \"" + text +
                     "\"; the commands are info, sign, encrypt, signencrypt and recover");
    }
    return line;
}

void TakeKey(CommandLine& line, CUTF16String file) {
    CUTF16String& key =
        line.command == ECommand::kRecover ? line.opener.key : line.signers.back().key;
    if (!key.IsEmpty())
        throw EUsage("--key stands twice for one certificate");
    key = std::move(file);
}

void TakeOption(CommandLine& line, const std::string& name, CReader& reader) {
    const bool recovers = line.command == ECommand::kRecover;
    if (name == "--signer" && Signs(line)) {
        line.signers.push_back({reader.Value(), CUTF16String()});
    } else if (name == "--recipient" && Encrypts(line)) {
        line.recipients.push_back(reader.Value());
    } else if (name == "--cert" && recovers) {
        line.opener.certificate = reader.Value();
    } else if (name == "--key" && (recovers || Signs(line))) {
        if (!recovers && line.signers.empty())
            throw EUsage("--key belongs behind the --signer whose key it is");
        TakeKey(line, reader.Value());
    } else {
        throw EUsage("this command has no option " + name);
    }
}

void Check(const CommandLine& line) {
    for (const KeyFiles& signer : line.signers)
        if (signer.key.IsEmpty())
            throw EUsage("each --signer CERT.pem needs its --key KEY.pem");
    if (Signs(line) && line.signers.empty())
        throw EUsage("who signs? Give --signer CERT.pem --key KEY.pem");
    if (Encrypts(line) && line.recipients.empty())
        throw EUsage("who is it for? Give --recipient CERT.pem");
    if (line.opener.certificate.IsEmpty() != line.opener.key.IsEmpty())
        throw EUsage("--cert and --key go together");
    if (line.files.empty())
        throw EUsage("which file?");
    const std::size_t most = line.command == ECommand::kBuild ? 2 : 1;
    if (line.command != ECommand::kInfo && line.files.size() > most)
        throw EUsage("more files than this command takes: " + Utf8(line.files.back()));
}

}  // namespace

CommandLine ParseCommandLine(const std::vector<CUTF16String>& arguments) {
    if (arguments.empty())
        throw EUsage("what is to be done? See p7tool --help");
    CommandLine line = CommandNamed(arguments[0]);
    if (line.command == ECommand::kHelp || line.command == ECommand::kVersion)
        return line;
    CReader reader(arguments);
    while (!reader.AtEnd()) {
        CUTF16String file;
        const std::optional<std::string> option = reader.Next(file);
        if (!option)
            line.files.push_back(file);
        else if (*option == "--help" || *option == "-h")
            return CommandLine();
        else if (!option->empty())
            TakeOption(line, *option, reader);
    }
    Check(line);
    return line;
}

std::string HelpText() {
    return R"(p7tool reads and builds PKCS#7 files (.p7, .p7m).

  p7tool info FILE...
      Tells about each file on one line of JSON: its type, its signers and their signing times,
      whether the signatures verify (not whether the signers are trusted), the recipients, and
      size and SHA-256 of the content where it is not encrypted.

  p7tool sign        --signer CERT.pem --key KEY.pem [--signer ... --key ...] IN [OUT]
  p7tool encrypt     --recipient CERT.pem [--recipient ...] IN [OUT]
  p7tool signencrypt --signer CERT.pem --key KEY.pem --recipient CERT.pem IN [OUT]
      Encloses IN in the file OUT; without OUT in IN with ".p7" behind it. An existing file is
      replaced. Keys are PEM without a pass phrase, RSA or EC to sign with; recipients need an
      RSA certificate.

  p7tool recover [--cert CERT.pem --key KEY.pem] IN
      Writes the content of IN to IN's name without its last extension: report.pdf.p7 gives
      report.pdf, which is replaced. Encrypted files need a recipient's certificate and key. The
      signatures are not checked: see info.

  p7tool --help, p7tool --version

Exit status: 0 done; 1 something failed (what, as JSON on standard output and in words on standard
error); 2 wrong command line. Names on the command line and all output are UTF-8.)";
}

}  // namespace tarnwell::p7tool
