#include "shellprobe/doctor/registry_rows.h"

#include <algorithm>

#include "common/system/os/settings_win32.h"
#include "shellprobe/doctor/installation.h"
#include "tarnwell/core/registration_table.h"

namespace tarnwell::shellprobe {
namespace {

/// The registry and COM take keys, types and identifiers in any case.
bool SameText(const CUTF16String& a, const CUTF16String& b) {
    return CompareStringOrdinal(Wide(a), static_cast<int>(a.Length()), Wide(b),
                                static_cast<int>(b.Length()), TRUE) == CSTR_EQUAL;
}

/// A description: of the file type, or of a class.
bool IsForPeople(std::u16string_view key) {
    constexpr std::u16string_view kClasses = u"CLSID\\";
    return key == u"PKCS7File" || (key.starts_with(kClasses) &&
                                   key.find(u'\\', kClasses.size()) == std::u16string_view::npos);
}

std::string ValueProblem(const CSettingsKey& key, const CUTF16String& path,
                         const RegistrationValue& value, const CUTF16String& modulePath) {
    const CUTF16String name(value.name);
    const CUTF16String wanted = RegistrationText(value.text, modulePath);
    const std::optional<CUTF16String> text = key.QueryText(name);
    if (text && SameText(*text, wanted))
        return {};
    const std::string place = (name.IsEmpty() ? std::string() : Shown(name) + " of ") +
                              "HKEY_CLASSES_ROOT\\" + Shown(path);
    return place + (text ? " is \"" + Shown(*text) + "\"" : " is not set") + " and should be \"" +
           Shown(wanted) + "\"";
}

std::string RowProblem(const RegistrationRow& row, const CUTF16String& path,
                       const CUTF16String& modulePath) {
    const CSettingsKey key = CSettingsKey::Open(HKEY_CLASSES_ROOT, path);
    if (!key.IsOpen())
        return "there is no HKEY_CLASSES_ROOT\\" + Shown(path);
    std::string problem;
    if (!IsForPeople(path))
        for (const RegistrationValue& value : row.Values())
            if (problem.empty())
                problem = ValueProblem(key, path, value, modulePath);
    return problem;
}

}  // namespace

std::string RowsProblem(std::u16string_view prefix, const CUTF16String& modulePath) {
    std::string problem;
    for (const RegistrationRow& row : RegistrationTable()) {
        const CUTF16String path = RegistrationText(row.key, modulePath);
        if (problem.empty() && path.AsView().starts_with(prefix))
            problem = RowProblem(row, path, modulePath);
    }
    return problem;
}

}  // namespace tarnwell::shellprobe
