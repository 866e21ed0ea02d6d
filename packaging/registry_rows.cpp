// Writes the registry rows of the installer, as the statements that put them into its database:
//
//     registry_rows FILE
//
// They come from the tables that registering uses itself, so that both ways of installing leave the
// same registry. The build runs this program; nobody installs it.

#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "common/system/os/event_source.h"
#include "common/system/text/convert.h"
#include "tarnwell/core/registration_table.h"

using namespace tarnwell;

namespace {

// The components that own the rows. Removing the product leaves those of the file types.
constexpr char kFileTypes[] = "FileTypes";
constexpr char kExtension[] = "Extension";
constexpr char kTraceLibrary[] = "TraceLibrary";

// In a row's name column: the key is made, and where it is said so removed with all below it.
constexpr char kMakeKey[] = "+";
constexpr char kMakeAndRemoveTree[] = "*";

/// Plain gives a table's text as it stands in a statement. A text that the installer's or the
/// statement's notation would read as something else is refused.
std::string Plain(std::u16string_view text) {
    for (const char16_t unit : text)
        if (unit < u' ' || unit > u'~' || unit == u'[' || unit == u']' || unit == u'\'')
            throw std::runtime_error("a text cannot be written as it is");
    return std::string(Utf8FromUtf16(text));
}

/// The same for a value's text, which is a number or a template where it begins with '#'.
std::string PlainValue(std::u16string_view text) {
    if (text.starts_with(u'#'))
        throw std::runtime_error("a value begins like a number");
    return Plain(text);
}

class CStatements {
public:
    /// Row writes one row below HKEY_LOCAL_MACHINE; an empty `name` is the key's default value.
    void Row(const char* component, const std::string& key, const std::string& name,
             const std::string& value) {
        m_text +=
            "INSERT INTO `Registry` "
            "(`Registry`, `Root`, `Key`, `Name`, `Value`, `Component_`) VALUES (" +
            Identifier(component) + ", 2, '" + key + "', '" + name + "', '" + value + "', '" +
            component + "')\n";
    }

    /// EmptyFirst has installing remove the key with all below it before anything is written.
    void EmptyFirst(const char* component, const std::string& key) {
        m_text +=
            "INSERT INTO `RemoveRegistry` "
            "(`RemoveRegistry`, `Root`, `Key`, `Name`, `Component_`) VALUES (" +
            Identifier(component) + ", 2, '" + key + "', '-', '" + component + "')\n";
    }

    const std::string& Text() const noexcept { return m_text; }

private:
    std::string Identifier(const char* component) {
        return '\'' + std::string(component) + std::to_string(++m_rows[component]) + '\'';
    }

    std::string m_text =
        "CREATE TABLE `RemoveRegistry` (`RemoveRegistry` CHAR(72) NOT NULL, `Root` SHORT NOT NULL, "
        "`Key` CHAR(255) NOT NULL LOCALIZABLE, `Name` CHAR(255) LOCALIZABLE, "
        "`Component_` CHAR(72) NOT NULL PRIMARY KEY `RemoveRegistry`)\n";
    std::map<std::string, int> m_rows;
};

/// ClassesRow writes a row of the registration. A plain row needs no removal of its own: it lies
/// below a forced one, which goes with all below it.
void ClassesRow(CStatements& statements, const RegistrationRow& row, bool belowForced) {
    const char* component = row.flag == ERowFlag::kKeep ? kFileTypes : kExtension;
    const std::string key =
        "SOFTWARE\\Classes\\" + Plain(RegistrationText(row.key, CUTF16String()));
    if (row.flag == ERowFlag::kForce) {
        statements.EmptyFirst(component, key);
        statements.Row(component, key, kMakeAndRemoveTree, "");
    } else if (row.flag == ERowFlag::kPlain && !belowForced) {
        throw std::runtime_error("a plain row lies below no forced one");
    } else if (row.Values().empty()) {
        statements.Row(component, key, kMakeKey, "");
    }
    for (const RegistrationValue& value : row.Values()) {
        PlainValue(value.text);
        const CUTF16String text = RegistrationText(value.text, CUTF16String(u"[#Tarnwell.dll]"));
        statements.Row(component, key, Plain(value.name), std::string(Utf8FromUtf16(text)));
    }
}

void Registration(CStatements& statements) {
    std::u16string forced;
    for (const RegistrationRow& row : RegistrationTable()) {
        if (row.flag == ERowFlag::kForce)
            forced = std::u16string(row.key) + u'\\';
        ClassesRow(statements, row, !forced.empty() && row.key.starts_with(forced));
    }
}

void EventSource(CStatements& statements) {
    const std::string key = Plain(kEventSourceKey);
    statements.Row(kTraceLibrary, key, kMakeAndRemoveTree, "");
    for (const EventSourceValue& value : kEventSourceValues)
        statements.Row(
            kTraceLibrary, key, Plain(value.name),
            value.file ? "#%[#" + Plain(value.file) + "]" : "#" + std::to_string(value.number));
}

bool Write(const char* path, const std::string& text) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path, "wb"),
                                                               &std::fclose);
    return file && std::fwrite(text.data(), 1, text.size(), file.get()) == text.size() &&
           std::fflush(file.get()) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        (void)std::fputs("registry_rows FILE: writes the installer's registry rows\n", stderr);
        return 2;
    }
    try {
        CStatements statements;
        Registration(statements);
        EventSource(statements);
        if (Write(argv[1], statements.Text()))
            return 0;
        (void)std::fprintf(stderr, "registry_rows: %s cannot be written\n", argv[1]);
    } catch (const std::exception& problem) {
        (void)std::fprintf(stderr, "registry_rows: %s\n", problem.what());
    }
    return 1;
}
