// The manager's entry: reads the command line and wires the portable parts to Windows.

#include <cstdlib>
#include <exception>
#include <optional>
#include <string>
#include <vector>

#include "common/system/os/install_paths.h"
#include "common/system/os/owners_win32.h"
#include "common/system/os/windows.h"
#include "manager/core/standalone.h"
#include "manager/log_file_win32.h"
#include "manager/terminal_win32.h"
#include "version.h"

#include <objbase.h>
#include <shellapi.h>

namespace tarnwell::manager {
namespace {

struct ArgumentsTraits {
    using Value = wchar_t**;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { LocalFree(value); }
};

std::vector<std::u16string> Arguments() {
    const std::u16string_view own = Units(GetCommandLineW());
    // A name for the program in front, as CommandLineToArgvW reads the first word by other rules.
    const CUTF16String line = CUTF16String(u"x ") + ArgumentText(own, ModulePath().AsView());
    int count = 0;
    const CUnique<ArgumentsTraits> words(CommandLineToArgvW(Wide(line), &count));
    std::vector<std::u16string> arguments;
    for (int i = 1; words && i < count; ++i)
        arguments.emplace_back(Units(words.Get()[i]));
    return arguments;
}

std::optional<std::u16string> Variable(std::u16string_view name) {
    const wchar_t* value = _wgetenv(reinterpret_cast<const wchar_t*>(std::u16string(name).c_str()));
    return value ? std::optional<std::u16string>(Units(value)) : std::nullopt;
}

std::u16string FullPath(const std::u16string& path) {
    const wchar_t* text = Wide(path.c_str());
    std::u16string full(GetFullPathNameW(text, 0, nullptr, nullptr), u'\0');
    const DWORD length = GetFullPathNameW(text, static_cast<DWORD>(full.size()),
                                          reinterpret_cast<wchar_t*>(full.data()), nullptr);
    if (length == 0 || length >= full.size())
        return path;
    full.resize(length);
    return full;
}

/// Fills in where home and log are when nobody said so.
void SettlePaths(Options& options) {
    if (options.home.empty())
        options.home = Join(ProductFolder(EProductRoot::kRoamingAppData).AsView(), u"Corvane");
    options.home = FullPath(options.home);
    options.log = options.log.empty() ? Join(options.home, u"corvane.log") : FullPath(options.log);
}

bool OpenWithShell(const std::u16string& path) {
    SHELLEXECUTEINFOW info = {};
    info.cbSize = sizeof(info);
    info.fMask = SEE_MASK_NOASYNC;  // the process ends soon: nothing may be left to a helper thread
    info.lpFile = Wide(path.c_str());
    info.nShow = SW_SHOWNORMAL;
    return ShellExecuteExW(&info) != 0;
}

ExitStatus Standalone(const Options& options) {
    CFiles files;
    files.MakeFolders(options.home);
    CLogFile file(options.log);
    const CLog log(GetCurrentProcessId(), [&file](std::string_view line) { file.Write(line); });
    log.Line("Corvane " TARNWELL_VERSION_TEXT " starts in standalone mode");
    const bool hasCom = SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
    const ExitStatus status =
        RunStandalone(options, AnnouncePort, files, log, options.open ? OpenWithShell : Opener());
    if (hasCom)
        CoUninitialize();
    log.Line("exits with status " + std::to_string(static_cast<int>(status)));
    return status;
}

ExitStatus Main() {
    Options options = ParseOptions(Arguments(), Variable);
    if (!options.problem.empty()) {
        ShowText(options.problem + "\r\nTry: Corvane.exe --help\r\n");
        return ExitStatus::kWrongCommandLine;
    }
    SettlePaths(options);
    switch (options.run) {
        case Run::kStandalone:
            return Standalone(options);
        case Run::kHelp:
            ShowText(HelpText(Utf8(options.home), Utf8(options.log)));
            break;
        case Run::kVersion:
            ShowText("Corvane " TARNWELL_VERSION_TEXT "\r\n");
            break;
        case Run::kExplain:
            ShowText(ExplainText());
            break;
    }
    return ExitStatus::kDone;
}

}  // namespace
}  // namespace tarnwell::manager

int WINAPI wWinMain(HINSTANCE, HINSTANCE, wchar_t*, int) {
    // A failure ends with a status; a box of the system's would wait for somebody who is not there.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    try {
        return static_cast<int>(tarnwell::manager::Main());
    } catch (const std::exception& exception) {
        tarnwell::manager::ShowText(exception.what());
        return static_cast<int>(tarnwell::manager::ExitStatus::kFailed);
    }
}
