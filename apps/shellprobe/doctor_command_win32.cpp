#include "shellprobe/commands.h"

#include <exception>

#include "shellprobe/doctor/checks.h"

namespace tarnwell::shellprobe {
namespace {

struct Check {
    std::string_view name;
    void (*run)(const Installation& installation, CReport& report);
};

constexpr Check kChecks[] = {
    {"classes", &CheckClasses},   {"file type", &CheckFileType}, {"permission", &CheckPermission},
    {"language", &CheckLanguage}, {"texts", &CheckTexts},        {"manager", &CheckManager},
    {"trace", &CheckTrace},       {"secure zone", &CheckZone},   {"sample", &CheckSample},
};

}  // namespace

int RunDoctor(const Arguments& arguments) {
    // A DLL that cannot be loaded is a line of the report, not a message box.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    const Installation installation = Installation::Find(std::chrono::seconds(arguments.wait));
    CReport report(arguments.isJson);
    for (const Check& check : kChecks) {
        try {
            check.run(installation, report);
        } catch (const std::exception& error) {
            report.Fail(check.name, std::string("it cannot be told: ") + error.what(),
                        "see what this says of the system");
        }
    }
    return report.ExitStatus();
}

}  // namespace tarnwell::shellprobe
