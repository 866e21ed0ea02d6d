#include <vector>

#include "common/system/os/owners_win32.h"
#include "shellprobe/doctor/checks.h"
#include "shellprobe/doctor/registry_rows.h"
#include "shellprobe/output.h"
#include "tarnwell/core/registration_table.h"
#include "version.h"
// Windows last.
#include <objbase.h>
#include <wrl/client.h>

namespace tarnwell::shellprobe {
namespace {

struct HandlerClass {
    std::string_view check;
    std::u16string_view id;
};
constexpr HandlerClass kClasses[] = {{"menu class", kContextMenuClass},
                                     {"icon class", kExtractIconClass},
                                     {"tip class", kShellHoverClass}};

constexpr char kReinstall[] =
    "repair the installation, or put Tarnwell.dll of version " TARNWELL_VERSION_TEXT " there";

std::string Register(const Installation& installation) {
    return "repair the installation, or register the DLL: regsvr32 " +
           (installation.modulePath.IsEmpty() ? "Tarnwell.dll"
                                              : "\"" + Shown(installation.modulePath) + "\"");
}

/// The version in a file's resources, "1.2.3"; empty without one.
std::string FileVersion(const CUTF16String& path) {
    const DWORD size = GetFileVersionInfoSizeW(Wide(path), nullptr);
    std::vector<unsigned char> resource(size);
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    if (size == 0 || !GetFileVersionInfoW(Wide(path), 0, size, resource.data()) ||
        !VerQueryValueW(resource.data(), L"\\", reinterpret_cast<void**>(&fixed), &length) ||
        length < sizeof *fixed)
        return {};
    return std::to_string(HIWORD(fixed->dwFileVersionMS)) + "." +
           std::to_string(LOWORD(fixed->dwFileVersionMS)) + "." +
           std::to_string(HIWORD(fixed->dwFileVersionLS));
}

/// MakesClass asks the loaded DLL itself for the class, not COM, which may have another in mind.
HRESULT MakesClass(HMODULE module, std::u16string_view id) {
    using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    const auto get = reinterpret_cast<GetClassObject>(
        reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
    CLSID classId = {};
    if (!get || FAILED(CLSIDFromString(Wide(CUTF16String(id)), &classId)))
        return CLASS_E_CLASSNOTAVAILABLE;
    Microsoft::WRL::ComPtr<IUnknown> factory;
    return get(classId, IID_IClassFactory, reinterpret_cast<void**>(factory.GetAddressOf()));
}

/// LoadProblem loads the DLL as COM does, and lets it go again.
std::string LoadProblem(const CUTF16String& path, std::u16string_view id) {
    const CUniqueModule module(LoadLibraryExW(Wide(path), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
    if (!module) {
        const DWORD error = GetLastError();
        return Shown(path) + " cannot be loaded: " + ErrorText(error) +
               (error == ERROR_BAD_EXE_FORMAT ? ", it is no 64-bit DLL" : "");
    }
    const HRESULT made = MakesClass(module.Get(), id);
    return FAILED(made) ? Shown(path) + " does not make this class: " + Hex(made) : "";
}

void CheckClass(const HandlerClass& handler, const Installation& installation, CReport& report) {
    if (HasUsersClass(handler.id))
        return report.Fail(handler.check,
                           "this user has a class of their own in the place of the machine's",
                           "find out who did that, and remove HKEY_CURRENT_USER\\Software\\Classes"
                           "\\CLSID\\" +
                               Shown(handler.id));
    const CUTF16String path = ClassModule(handler.id).value_or(CUTF16String());
    if (path.IsEmpty())
        return report.Fail(handler.check, "the class " + Shown(handler.id) + " is not registered",
                           Register(installation));
    const CUTF16String key = CUTF16String(u"CLSID\\").Append(handler.id);
    if (std::string problem = RowsProblem(key, path); !problem.empty())
        return report.Fail(handler.check, std::move(problem), Register(installation));
    if (!FileExists(path))
        return report.Fail(handler.check, "there is no " + Shown(path), kReinstall);
    if (path != installation.modulePath)
        return report.Fail(handler.check,
                           "it is served by " + Shown(path) + ", and another class by " +
                               Shown(installation.modulePath),
                           "unregister one of the two: regsvr32 /u, then register the other");
    if (std::string problem = LoadProblem(path, handler.id); !problem.empty())
        return report.Fail(handler.check, std::move(problem), kReinstall);
    const std::string version = FileVersion(path);
    if (version != TARNWELL_VERSION_TEXT)
        return report.Warn(handler.check,
                           Shown(path) + " works, but is of version " +
                               (version.empty() ? "unknown" : version) +
                               " where this program is of " TARNWELL_VERSION_TEXT,
                           kReinstall);
    report.Ok(handler.check, Shown(path) + ", version " + version);
}

}  // namespace

void CheckClasses(const Installation& installation, CReport& report) {
    for (const HandlerClass& handler : kClasses)
        CheckClass(handler, installation, report);
}

bool KnowsModule(std::string_view check, const Installation& installation, CReport& report) {
    if (installation.modulePath.IsEmpty())
        report.Fail(check, "where to look is not known while no class is registered",
                    Register(installation));
    return !installation.modulePath.IsEmpty();
}

void CheckFileType(const Installation& installation, CReport& report) {
    struct Part {
        std::string_view check;
        std::u16string_view prefix;
        std::string_view good;
    };
    constexpr Part kParts[] = {{"menu key", u"*", "the menu is registered for all files"},
                               {"file extensions", u".p7", ".p7 and .p7m belong to PKCS7File"},
                               {"file type", u"PKCS7File", "PKCS7File names the icon and the tip"}};
    for (const Part& part : kParts) {
        std::string problem = RowsProblem(part.prefix, installation.modulePath);
        if (problem.empty())
            report.Ok(part.check, std::string(part.good));
        else
            report.Fail(part.check, std::move(problem),
                        Register(installation) + " (another program may have claimed it since)");
    }
}

}  // namespace tarnwell::shellprobe
