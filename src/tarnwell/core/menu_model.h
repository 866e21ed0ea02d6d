#pragma once

// What the context menu decides, as data: which mode a selection gets, the commands of each mode,
// the rows to insert and the texts of a failure. The handler turns rows into menu items and
// actions into calls. Pure; any thread may call.

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "tarnwell/core/request_codes.h"

namespace tarnwell {

enum class EMenuMode : std::uint8_t {
    kProtect,  ///< sign, encrypt, sign and encrypt
    kOpen,     ///< open or recover the one selected container
};

struct MenuCommand {
    std::uint32_t offset;  ///< from the first id that the shell gave
    ActionCode action;
    const char* textKey;  ///< in the catalogue; for recovering see RecoverKey
    std::string_view verb;
    const char* traceLine;  ///< reported when the command is carried out
    std::uint16_t icon;     ///< resource id of its picture, 0 for none
};

/// The number that a filled menu answers: command offsets lie below it.
inline constexpr std::uint32_t kMenuOffsets = 3;

/// IsContainerName tells whether the text after the last "." of the whole path (all of it without
/// one) is "p7", ignoring case. A ".p7m" file is none: it gets the protecting commands.
bool IsContainerName(std::u16string_view path) noexcept;

/// MenuFits tells whether the ids `first` to `last` leave the room that `mode` asks for. The
/// protecting commands ask for one id more than they use, the opening ones for as many.
bool MenuFits(EMenuMode mode, std::uint32_t first, std::uint32_t last) noexcept;

/// MenuRows gives the rows of a mode from top to bottom: a command, or null for a separator.
std::span<const MenuCommand* const> MenuRows(EMenuMode mode) noexcept;

/// RecoverKey is the catalogue key of the recover row once the file's type is known: a file that is
/// encrypted and not signed is recovered, any other is verified as well.
const char* RecoverKey(bool isOnlyEncrypted) noexcept;

/// FindCommand gives the command at `offset`, null where the mode has none.
const MenuCommand* FindCommand(EMenuMode mode, std::uint64_t offset) noexcept;

/// VerbAt gives the canonical verb at `offset`: one verb for every offset in open mode, nothing
/// for an offset that protect mode does not have.
std::optional<std::string_view> VerbAt(EMenuMode mode, std::uint64_t offset) noexcept;

/// The catalogue keys of the message box for a failure.
struct FailureKeys {
    const char* title;
    const char* text;
};

/// FindFailureKeys gives nothing for success and for results that have no message.
std::optional<FailureKeys> FindFailureKeys(ResultCode result) noexcept;

}  // namespace tarnwell
