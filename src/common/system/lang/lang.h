#pragma once

// The texts that users see, in the language of the manager: they live in the manager's resource
// archive, one catalogue a language, and are read afresh by each menu, command and info tip:
//     Lang lang;
//     lang.Auto_set_local_language();
//     lang.Auto_extract_Resource_File();
//     lang["tarnwellDLL.sign"]
// Nothing throws out of these calls, and nothing is cached between objects. An object belongs to
// the one call that made it.

#include <string>
#include <string_view>

#include "common/system/json/js_value.h"
#include "common/system/os/install_paths.h"
#include "common/system/text/string.h"

namespace tarnwell {

class Lang {
public:
    Lang() noexcept;

    /// Auto_set_local_language takes the first of the thread's preferred user-interface languages
    /// that the manager speaks, else English. Windows builds only.
    void Auto_set_local_language() noexcept;

    /// Auto_extract_Resource_File finds the manager's archive, reads the catalogue of the chosen
    /// language and keeps it; true when a catalogue was parsed, even one with a syntax error.
    /// After a failure lookups answer as before it. Windows builds only.
    bool Auto_extract_Resource_File() noexcept;

    /// operator[] gives the text for a dotted key, UTF-8; "Undefined" where there is none, "" where
    /// the key names a group, a number or a truth value, or where there is no memory.
    CISOString operator[](std::string_view key) const noexcept;

    /// Language is the chosen code, an entry of kSupportedLanguages.
    const char* Language() const noexcept { return m_language; }

    /// UseLanguages chooses from a list of names as ChooseLanguage takes it, else English.
    void UseLanguages(std::u16string_view names) noexcept;

    /// Load reads the catalogue of the chosen language from the archive at `path`.
    bool Load(const CUTF16String& path) noexcept;

private:
    const char* m_language;
    CJSValueOwner m_root;
};

/// PreferredLanguages gives the names of the thread's preferred user-interface languages, in the
/// system's order, as ChooseLanguage takes them; "" where the system does not tell. Windows builds
/// only.
std::u16string PreferredLanguages();

/// ArchivePath is where the manager's resource archive is installed. Windows builds only.
CUTF16String ArchivePath();

/// ArchivePathOf is the same for a module at `modulePath`: the pure rule.
CUTF16String ArchivePathOf(const CUTF16String& modulePath, const ProgramFilesFolders& folders);

}  // namespace tarnwell
