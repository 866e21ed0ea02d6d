#include "shellprobe/doctor/installation.h"

#include "common/system/os/settings_win32.h"
#include "common/system/text/convert.h"
#include "tarnwell/core/registration_table.h"

namespace tarnwell::shellprobe {
namespace {

CUTF16String ServerKey(std::u16string_view classId) {
    return CUTF16String(u"Software\\Classes\\CLSID\\").Append(classId) + u"\\InprocServer32";
}

}  // namespace

Installation Installation::Find(std::chrono::seconds patience) {
    Installation installation{{}, ProgramFilesFolders::Fetch(), patience};
    for (const std::u16string_view id : {kContextMenuClass, kExtractIconClass, kShellHoverClass})
        if (installation.modulePath.IsEmpty())
            installation.modulePath = ClassModule(id).value_or(CUTF16String());
    return installation;
}

std::optional<CUTF16String> ClassModule(std::u16string_view classId) {
    return CSettingsKey::Open(HKEY_LOCAL_MACHINE, ServerKey(classId)).QueryText(CUTF16String());
}

bool HasUsersClass(std::u16string_view classId) {
    return CSettingsKey::Open(HKEY_CURRENT_USER, ServerKey(classId)).IsOpen();
}

bool FileExists(const CUTF16String& path) {
    const DWORD attributes = GetFileAttributesW(Wide(path));
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

std::string Shown(std::u16string_view text) {
    return std::string(Utf8FromUtf16(text).AsView());
}

std::string ErrorText(DWORD error) {
    return "error " + std::to_string(error);
}

}  // namespace tarnwell::shellprobe
