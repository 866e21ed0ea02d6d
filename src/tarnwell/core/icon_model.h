#pragma once

// What the icon handler reads from texts: which type the enclosed file has by its name, where an
// icon lies by what a type registers. Paths and registered texts come from anybody. Pure; any
// thread may call.

#include <cstdint>
#include <string_view>

namespace tarnwell {

/// EnclosedExtension gives the extension of the file inside the container at `path`, without its
/// dot: of the path without its last dot and what follows, the text after the last dot left, or all
/// of it without one. Folders are not told apart from names: such an "extension" holds a backslash,
/// no type is registered for it, and the file gets the default icon.
std::u16string_view EnclosedExtension(std::u16string_view path) noexcept;

/// Where an icon lies.
struct IconLocation {
    std::u16string_view file;  ///< without the blanks and quotes around it; a part of the text
    std::int32_t index = 0;    ///< from 0 on, or the negative of a resource's identifier
};

/// ParseIconLocation reads "file" or "file,index"; the last comma counts. Programs register their
/// file with quotes and without, and the shell takes both; what extracts icons does not. An index
/// is read as far as it is a number, so that text is 0, and one that is too large becomes the
/// largest.
IconLocation ParseIconLocation(std::u16string_view text) noexcept;

}  // namespace tarnwell
