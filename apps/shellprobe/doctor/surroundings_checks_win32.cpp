#include <vector>

#include "common/system/memory/secure_allocator.h"
#include "common/system/memory/secure_zones.h"
#include "common/system/memory/zone_system.h"
#include "common/system/os/owners_win32.h"
#include "common/system/os/settings_win32.h"
#include "shellprobe/doctor/checks.h"
#include "zellog/trace_start.h"

namespace tarnwell::shellprobe {
namespace {

struct TraceGoal {
    CUTF16String path;     ///< empty: the trace is off
    std::string_view why;  ///< who asked for it
};

/// The trace library's own rule: the environment first, then the machine's settings.
TraceGoal FindTraceGoal() {
    constexpr DWORD kLongest = 32768;
    std::vector<wchar_t> text(kLongest);
    const DWORD length = GetEnvironmentVariableW(L"TARNWELL_TRACE", text.data(), kLongest);
    if (length > 0 && length < kLongest)
        return {CUTF16String(Units(text.data())),
                "the variable TARNWELL_TRACE of this program's environment"};
    DWORD bytes = kLongest * sizeof(wchar_t);
    if (RegGetValueW(HKEY_LOCAL_MACHINE, L"Software\\Quorva", L"TraceFile", RRF_RT_REG_SZ, nullptr,
                     text.data(), &bytes) == ERROR_SUCCESS)
        return {CUTF16String(Units(text.data())),
                "the value TraceFile of HKEY_LOCAL_MACHINE\\Software\\Quorva"};
    return {};
}

}  // namespace

void CheckTrace(const Installation& installation, CReport& report) {
    constexpr std::string_view kCheck = "trace";
    if (!KnowsModule(kCheck, installation, report))
        return;
    const CUTF16String library = TraceLibraryPath(installation.modulePath);
    if (!FileExists(library))
        return report.Warn(
            kCheck,
            "off: there is no " + Shown(library) + ", which events need for their texts too",
            "repair the installation, or put zelLog.dll beside the DLL");
    const TraceGoal goal = FindTraceGoal();
    if (goal.path.IsEmpty())
        return report.Ok(kCheck,
                         "off (the text value TraceFile of HKEY_LOCAL_MACHINE\\Software\\Quorva "
                         "names a file to turn it on)");
    const CUniqueFile file(CreateFileW(Wide(goal.path), FILE_APPEND_DATA | FILE_GENERIC_READ,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                       nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    const DWORD error = GetLastError();
    if (!file)
        return report.Warn(
            kCheck,
            "asked for but not written: " + Shown(goal.path) + " cannot be opened, " +
                ErrorText(error),
            "make its folder and let the users write there, or change " + std::string(goal.why));
    char start[zellog::kTraceStart.size()];
    DWORD length = 0;
    if (!ReadFile(file.Get(), start, sizeof start, &length, nullptr) ||
        !zellog::IsTraceStart({start, length}))
        return report.Warn(kCheck,
                           "asked for but not written: " + Shown(goal.path) +
                               " is there already and no trace, and is left alone",
                           "name another file: change " + std::string(goal.why));
    report.Ok(kCheck,
              "on, written to " + Shown(goal.path) + " as asked by " + std::string(goal.why));
}

void CheckZone(const Installation&, CReport& report) {
    const CSecureAllocator zone(CSecureZones::kZone, OsZoneSystem());
    const std::string size = std::to_string(CSecureZones::kZone) + " bytes";
    if (!zone.IsFallback())
        return report.Ok("secure zone", "locked in this process, " + size);
    report.Warn("secure zone",
                "in fallback: the system does not lock " + size +
                    " for this process"
                    ", so texts may reach the page file",
                "let users raise their working set (the right \"Increase a process working set\"), "
                "and see that no job object limits it");
}

}  // namespace tarnwell::shellprobe
