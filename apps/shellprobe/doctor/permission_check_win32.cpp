#include "common/system/os/settings_win32.h"
#include "shellprobe/doctor/checks.h"
#include "tarnwell/core/registration_table.h"

namespace tarnwell::shellprobe {
namespace {

constexpr std::string_view kCheck = "permission";
constexpr std::u16string_view kClasses[] = {kContextMenuClass, kExtractIconClass, kShellHoverClass};
constexpr char16_t kShellExtensions[] =
    u"Software\\Microsoft\\Windows\\CurrentVersion\\Shell Extensions\\";
constexpr char16_t kPolicies[] =
    u"Software\\Microsoft\\Windows\\CurrentVersion\\Policies\\Explorer";
constexpr char16_t kFileTypes[] =
    u"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\FileExts\\";

struct Hive {
    HKEY root;
    std::string_view name;
};
const Hive kHives[] = {{HKEY_LOCAL_MACHINE, "HKEY_LOCAL_MACHINE"},
                       {HKEY_CURRENT_USER, "HKEY_CURRENT_USER"}};

/// One of our classes that the list (a key with a value a class) has or lacks; empty for none.
CUTF16String ClassIn(HKEY root, std::u16string_view list, bool has) {
    const CSettingsKey key = CSettingsKey::Open(root, CUTF16String(kShellExtensions).Append(list));
    for (const std::u16string_view id : kClasses)
        if (key.QueryBytes(CUTF16String(id)).has_value() == has)
            return CUTF16String(id);
    return {};
}

/// Where the type's handlers are passed over because the user chose another program.
std::string ChosenElsewhere() {
    for (const char16_t* extension : {u".p7", u".p7m"}) {
        const CUTF16String path = CUTF16String(kFileTypes) + extension + u"\\UserChoice";
        const auto type =
            CSettingsKey::Open(HKEY_CURRENT_USER, path).QueryText(CUTF16String(u"ProgId"));
        if (type && *type != u"PKCS7File")
            return Shown(extension) + " is opened with \"" + Shown(*type) + "\"";
    }
    return {};
}

}  // namespace

void CheckPermission(const Installation&, CReport& report) {
    for (const Hive& hive : kHives) {
        const CUTF16String blocked = ClassIn(hive.root, u"Blocked", true);
        if (!blocked.IsEmpty())
            return report.Fail(kCheck, "the class " + Shown(blocked) + " is blocked",
                               "remove its value from " + std::string(hive.name) + "\\" +
                                   Shown(kShellExtensions) + "Blocked");
        const bool isStrict = CSettingsKey::Open(hive.root, kPolicies)
                                  .QueryNumber(u"EnforceShellExtensionSecurity")
                                  .value_or(0) != 0;
        const CUTF16String unlisted =
            isStrict ? ClassIn(HKEY_LOCAL_MACHINE, u"Approved", false) : CUTF16String();
        if (!unlisted.IsEmpty())
            return report.Fail(kCheck,
                               "only approved shell extensions are loaded (policy "
                               "EnforceShellExtensionSecurity), and the class " +
                                   Shown(unlisted) + " is not",
                               "add a value of that name to HKEY_LOCAL_MACHINE\\" +
                                   Shown(kShellExtensions) + "Approved");
    }
    if (std::string chosen = ChosenElsewhere(); !chosen.empty())
        return report.Warn(kCheck,
                           "for this user, " + chosen + ": its icon and tip come from that program",
                           "have the user choose again: Open with, Choose another app");
    report.Ok(kCheck, "nothing blocks the handlers");
}

}  // namespace tarnwell::shellprobe
