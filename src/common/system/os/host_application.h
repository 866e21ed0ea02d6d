#pragma once

// What the running program calls itself: the name to show to its user when a request comes from
// this process. Nothing is kept between calls; any thread may call.

#include <cstdint>
#include <span>
#include <string_view>

#include "common/system/text/string.h"

namespace tarnwell {

/// One entry of a version resource's list of translations ("\VarFileInfo\Translation").
struct VersionTranslation {
    std::uint16_t language;
    std::uint16_t codePage;
};

/// ChooseTranslation picks the entry of the user's `language`, else of the neutral one, else of
/// US English, the last of the list where several match; else the first. Null for an empty list.
const VersionTranslation* ChooseTranslation(std::span<const VersionTranslation> list,
                                            std::uint16_t language) noexcept;

/// DescriptionKey is where the version resource keeps the description for `translation`:
/// "\StringFileInfo\040904b0\FileDescription".
CUTF16String DescriptionKey(VersionTranslation translation);

/// PlainProgramName is the file name in `path` before its first ".".
std::u16string_view PlainProgramName(std::u16string_view path) noexcept;

/// GetHostApplicationName gives the description in the version resource of the process's
/// executable, else its PlainProgramName; "" if its path cannot be had.
CUTF16String GetHostApplicationName();

}  // namespace tarnwell
