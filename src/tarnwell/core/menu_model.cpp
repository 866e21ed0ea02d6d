#include "tarnwell/core/menu_model.h"

#include <algorithm>

namespace tarnwell {
namespace {

// The lines of the trace are what the log readers of this product look for. Two of them name
// another command than the one clicked, and they stay so.
constexpr MenuCommand kProtectCommands[] = {
    {0, kActionSign, "tarnwellDLL.sign", "sign", "recover command clicked", 205},
    {1, kActionEncrypt, "tarnwellDLL.encrypt", "encrypt", "encrypt command clicked", 206},
    {2, kActionSignEncrypt, "tarnwellDLL.signencrypt", "sign+encrypt",
     "encrypt  and signe command clicked", 207},
};

constexpr char kRecover[] = "tarnwellDLL.recover";
constexpr char kRecoverAndVerify[] = "tarnwellDLL.recover_veryfy";  // the catalogue spells it so

constexpr MenuCommand kOpenCommands[] = {
    {0, kActionOpen, "menu.open", "recover", "open command clicked", 0},
    {2, kActionRecover, kRecover, "recover", "sign command clicked", 0},
};
constexpr const MenuCommand* kSeparator = nullptr;
constexpr const MenuCommand* kProtectRows[] = {
    kSeparator, &kProtectCommands[0], &kProtectCommands[1], &kProtectCommands[2], kSeparator,
};
constexpr const MenuCommand* kOpenRows[] = {
    kSeparator,
    &kOpenCommands[1],
    &kOpenCommands[0],
    kSeparator,
};

std::span<const MenuCommand> Commands(EMenuMode mode) noexcept {
    if (mode == EMenuMode::kOpen)
        return kOpenCommands;
    return kProtectCommands;
}

}  // namespace

bool IsContainerName(std::u16string_view path) noexcept {
    const std::size_t dot = path.rfind(u'.');
    const std::u16string_view name = dot == path.npos ? path : path.substr(dot + 1);
    return name == u"p7" || name == u"P7";
}

bool MenuFits(EMenuMode mode, std::uint32_t first, std::uint32_t last) noexcept {
    const std::uint64_t room = mode == EMenuMode::kOpen ? 2 : 3;
    return last >= first + room;
}

std::span<const MenuCommand* const> MenuRows(EMenuMode mode) noexcept {
    if (mode == EMenuMode::kOpen)
        return kOpenRows;
    return kProtectRows;
}

const char* RecoverKey(bool isOnlyEncrypted) noexcept {
    return isOnlyEncrypted ? kRecover : kRecoverAndVerify;
}

const MenuCommand* FindCommand(EMenuMode mode, std::uint64_t offset) noexcept {
    const std::span<const MenuCommand> commands = Commands(mode);
    const auto found = std::ranges::find(commands, offset, &MenuCommand::offset);
    return found == commands.end() ? nullptr : &*found;
}

std::optional<std::string_view> VerbAt(EMenuMode mode, std::uint64_t offset) noexcept {
    if (mode == EMenuMode::kOpen)
        return kOpenCommands[0].verb;
    const MenuCommand* command = FindCommand(mode, offset);
    return command ? std::optional(command->verb) : std::nullopt;
}

std::optional<FailureKeys> FindFailureKeys(ResultCode result) noexcept {
    switch (result) {
        case kResultRecoverFailed:
            return FailureKeys{"tarnwellDLL.recover_error_title",
                               "tarnwellDLL.recover_error_message"};
        case kResultOpenFailed:  // the catalogue has one text for both
            return FailureKeys{"tarnwellDLL.open_file_error_message",
                               "tarnwellDLL.open_file_error_message"};
        case kResultFailed:
            return FailureKeys{"tarnwellDLL.general_error_title",
                               "tarnwellDLL.general_error_message"};
        default:
            return std::nullopt;
    }
}

}  // namespace tarnwell
