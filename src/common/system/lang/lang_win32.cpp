#include <exception>
#include <string>

#include "common/system/lang/lang.h"
#include "common/system/os/windows.h"
#include "common/system/trace/trace.h"

namespace tarnwell {

std::u16string PreferredLanguages() {
    ULONG count = 0;
    ULONG length = 0;
    if (!GetThreadPreferredUILanguages(MUI_LANGUAGE_NAME, &count, nullptr, &length))
        return {};
    std::wstring names(length, L'\0');
    if (!GetThreadPreferredUILanguages(MUI_LANGUAGE_NAME, &count, names.data(), &length))
        return {};
    return {names.begin(), names.end()};
}

void Lang::Auto_set_local_language() noexcept {
    const CTraceScope scope("Lang::Auto_set_local_language");
    std::u16string names;
    try {
        names = PreferredLanguages();
    } catch (const std::exception&) {
        // The fallback language needs no list.
    }
    UseLanguages(names);
}

bool Lang::Auto_extract_Resource_File() noexcept {
    const CTraceScope scope("Lang::Auto_extract_Resource_File");
    try {
        return Load(ArchivePath());
    } catch (const std::exception&) {
        return false;
    }
}

CUTF16String ArchivePath() {
    return ArchivePathOf(ModulePath(), ProgramFilesFolders::Fetch());
}

}  // namespace tarnwell
