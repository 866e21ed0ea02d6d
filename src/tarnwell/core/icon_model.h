#pragma once

// What the icon handler decides, as data: which type the enclosed file has by its name, where an
// icon lies by the text that a type registers, which overlay a kind of content gets. Paths and
// registered texts come from anybody. Pure; any thread may call.

#include <cstdint>
#include <optional>
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

/// ParseIconLocation reads "file" or "file,index"; the last comma counts. An index is read as far
/// as it is a number, so that text is 0, and one that is too large becomes the largest.
IconLocation ParseIconLocation(std::u16string_view text) noexcept;

/// TypeOverlay gives the icon resource that marks a PKCS#7 content type, by the type's number;
/// nothing for a number that no file has.
std::optional<std::uint16_t> TypeOverlay(std::uint32_t type) noexcept;

}  // namespace tarnwell
