#pragma once

// The identifiers of the three handler classes, as COM takes them.

#include "common/system/os/windows.h"
#include "common/system/text/convert.h"
#include "tarnwell/core/registration_table.h"

namespace tarnwell {

/// ClassIdFromText reads "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}" at compile time.
consteval CLSID ClassIdFromText(std::u16string_view text) {
    std::size_t at = 1;
    const auto number = [&](int digits) {
        unsigned long value = 0;
        while (digits > 0) {
            const char16_t unit = text.at(at++);
            if (unit == u'-')
                continue;
            value = value << 4 | static_cast<unsigned long>(HexValue(static_cast<char>(unit)));
            --digits;
        }
        return value;
    };
    CLSID id{};
    id.Data1 = number(8);
    id.Data2 = static_cast<unsigned short>(number(4));
    id.Data3 = static_cast<unsigned short>(number(4));
    for (unsigned char& byte : id.Data4)
        byte = static_cast<unsigned char>(number(2));
    return id;
}

inline constexpr CLSID CLSID_ContextMenu = ClassIdFromText(kContextMenuClass);
inline constexpr CLSID CLSID_ExtractIcon = ClassIdFromText(kExtractIconClass);
inline constexpr CLSID CLSID_ShellHover = ClassIdFromText(kShellHoverClass);

}  // namespace tarnwell
