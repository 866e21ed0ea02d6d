#pragma once

// The parts of the language catalogue that need no system: which language to take, the catalogue
// inside the resource archive, and the lookup of a text. Pure but for trace lines.

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

#include "common/system/json/js_value.h"

namespace tarnwell {

/// The languages that the manager has a catalogue for, ended by a null; the first is the fallback.
extern const char* const kSupportedLanguages[];

/// The largest catalogue that is unpacked. Real ones stay below 1 MiB; an entry that claims more
/// is refused before anything is allocated for it.
inline constexpr std::size_t kMaxCatalogueBytes = std::size_t{16} << 20;

/// The largest archive that is read: the explorer holds the whole of it for every menu.
inline constexpr std::size_t kMaxArchiveBytes = std::size_t{64} << 20;

/// What a lookup gives when there is no such text.
inline constexpr const char* kUndefinedText = "Undefined";

/// ChooseLanguage walks `names`, language names each ended by a zero unit with an empty one at the
/// end, in order, and returns the entry of kSupportedLanguages for the first that is supported,
/// exactly or by its first two units before a "-"; null if none is. Case counts.
const char* ChooseLanguage(std::u16string_view names) noexcept;

/// CatalogueEntryName is the archive's entry for a language code: "scripts/language.fr.js".
CISOString CatalogueEntryName(const char* language);

/// ReadCatalogue unpacks `entryName` of the zip file `archive` and parses the JSON value that
/// starts at its first "{". Nothing when the archive or the entry cannot be read or the entry
/// claims more than kMaxCatalogueBytes; a catalogue with a syntax error is the undefined value.
/// Throws std::bad_alloc.
std::optional<CJSValueOwner> ReadCatalogue(std::span<const unsigned char> archive,
                                           const CISOString& entryName);

/// LookUpText follows the dotted `key` ("tarnwellDLL.sign") from `root` down and gives the text
/// there: "Undefined" where a part is absent, "" where the value is no string.
CISOString LookUpText(const CJSValue& root, std::string_view key);

}  // namespace tarnwell
