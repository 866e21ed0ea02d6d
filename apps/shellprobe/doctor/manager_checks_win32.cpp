#include "common/system/text/convert.h"
#include "common/system/text/exception.h"
#include "shellprobe/doctor/checks.h"
#include "shellprobe/doctor/manager_trial.h"
#include "tarnwell/core/manager_address.h"

namespace tarnwell::shellprobe {
namespace {

constexpr char kReinstall[] = "install or repair the manager";

std::string ByHand(const std::string& program) {
    return "run \"" + program + "\" /standalone by hand: it must write its port and then wait";
}

/// A program that the system would start instead: the command line stands without quotes, so each
/// blank of the path may end a program's name. Empty where there is none.
CUTF16String EarlierProgram(const CUTF16String& program) {
    for (std::size_t at = 0; at < program.Length(); ++at) {
        if (program[at] != u' ')
            continue;
        for (const char16_t* ending : {u"", u".exe"}) {
            CUTF16String candidate = program.Sub(0, at) + ending;
            if (FileExists(candidate))
                return candidate;
        }
    }
    return {};
}

/// The port that the text stands for, 0 for none.
std::uint16_t PortOf(std::string_view text) {
    const std::uint32_t port = ParseUnsigned(text).value_or(0);
    return port <= 0xFFFF ? static_cast<std::uint16_t>(port) : std::uint16_t{0};
}

void AskAt(std::uint16_t port, CManagerTrial& trial, const Installation& installation,
           const std::string& program, CReport& report) {
    try {
        const std::uint32_t status = AskManager(port, installation.patience);
        report.Ok("manager's answer",
                  "HTTP status " + std::to_string(status) + " to a request for nothing");
    } catch (const CException& error) {
        trial.End();
        report.Fail("manager's answer", error.what(), ByHand(program));
    }
}

void Start(const CUTF16String& commandLine, const Installation& installation,
           const std::string& program, CReport& report) {
    CManagerTrial trial(commandLine);
    if (!trial.IsStarted())
        return report.Fail("manager's port",
                           program + " does not start: " + ErrorText(trial.Error()), kReinstall);
    const std::optional<std::string> text = trial.ReadPort(installation.patience);
    const std::uint16_t port = text ? PortOf(*text) : std::uint16_t{0};
    if (port != 0) {
        report.Ok("manager's port", *text);
        return AskAt(port, trial, installation, program, report);
    }
    trial.End();
    const CUTF16String written = Utf16FromUtf8(text.value_or(""));
    std::string found = "it writes \"" + Shown(written) + "\", which is no port";
    if (!text)
        found = "it has written nothing for " + std::to_string(installation.patience.count()) +
                " s and was ended";
    else if (text->empty())
        found = "it ends without writing its port";
    report.Fail("manager's port", std::move(found), ByHand(program));
}

}  // namespace

void CheckManager(const Installation& installation, CReport& report) {
    constexpr std::string_view kCheck = "manager";
    if (!KnowsModule(kCheck, installation, report))
        return;
    const CUTF16String commandLine =
        ManagerCommandLine(DirectoryOf(installation.modulePath), installation.folders);
    const CUTF16String program =
        commandLine.Sub(0, commandLine.Length() - std::u16string_view(u" /standalone").size());
    if (!FileExists(program))
        return report.Fail(kCheck, "there is no " + Shown(program), kReinstall);
    if (const CUTF16String earlier = EarlierProgram(program); !earlier.IsEmpty())
        return report.Fail(kCheck,
                           Shown(earlier) + " would be started instead of " + Shown(program),
                           "find out where that file comes from, and remove or rename it");
    report.Ok(kCheck, Shown(program));
    Start(commandLine, installation, Shown(program), report);
}

}  // namespace tarnwell::shellprobe
