#pragma once

// What registration puts into the registry below HKEY_CLASSES_ROOT, as a table: for the writer and
// the remover, and for anyone who has to install or check it. Portable and constant.

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "common/system/text/string.h"

namespace tarnwell {

/// The handler classes' identifiers as the registry spells them. They are fixed for good.
inline constexpr std::u16string_view kContextMenuClass = u"{0D526B21-4823-426D-A4B4-1AD3B8305EFC}";
inline constexpr std::u16string_view kExtractIconClass = u"{F0778DA1-ECEE-4721-B055-8046A0028A87}";
inline constexpr std::u16string_view kShellHoverClass = u"{B6F0B3F7-85B2-458A-8A87-46161C087722}";

/// What happens to a row's key. Registering always creates it if it is missing and sets its values.
enum class ERowFlag {
    /// Others use the key too: unregistering leaves it and its values.
    kKeep,
    /// The key is ours with everything below: registering empties it first, unregistering deletes
    /// the whole subtree.
    kForce,
    /// The key is ours, what others put below it is not: unregistering removes its named values,
    /// and the key unless something is left below it.
    kPlain,
};

/// A REG_SZ value. The text may be a placeholder, see RegistrationText.
struct RegistrationValue {
    std::u16string_view name;  // empty: the key's default value
    std::u16string_view text;
};

struct RegistrationRow {
    std::u16string_view key;  // below the root; may hold placeholders
    ERowFlag flag;
    std::array<RegistrationValue, 2> slots{};  // used from the front

    /// Values gives the slots in use.
    constexpr std::span<const RegistrationValue> Values() const noexcept {
        std::size_t count = 0;
        while (count < slots.size() && !slots[count].text.empty())
            ++count;
        return std::span(slots).first(count);
    }
};

/// RegistrationTable gives the rows in the order of writing, parents before children.
std::span<const RegistrationRow> RegistrationTable() noexcept;

/// RegistrationText fills the placeholders of a key or text of the table: "{ctx}", "{icon}" and
/// "{tip}" become the class identifiers, "{module}" becomes `modulePath`, as it is.
CUTF16String RegistrationText(std::u16string_view text, const CUTF16String& modulePath);

}  // namespace tarnwell
