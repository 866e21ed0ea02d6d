#include "shellprobe/arguments.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>

#include "common/system/text/convert.h"

namespace tarnwell::shellprobe {
namespace {

struct CommandName {
    std::string_view name;
    ECommand command;
    std::string_view options;  // each between blanks
    std::string_view needed;   // the option without which it makes no sense, as a user writes it
};

constexpr CommandName kCommands[] = {
    {"menu", ECommand::kMenu, " --flags --first --last ", ""},
    {"invoke", ECommand::kInvoke, " --offset --flags --answer-after ", "--offset=N"},
    {"popup", ECommand::kPopup, " --at --flags ", "--at=X,Y"},
    {"icon", ECommand::kIcon, " --large --small --async --png --through-shell ", ""},
    {"tip", ECommand::kTip, " --through-shell ", ""},
    {"stress", ECommand::kStress, " --rounds --only --large --small ", "--rounds=N"},
    {"view", ECommand::kView, " --mode ", ""},
    {"doctor", ECommand::kDoctor, " --json --wait ", ""},
};

std::string Utf8(const CUTF16String& text) {
    return std::string(Utf8FromUtf16(text).AsView());
}

/// ParseNumber reads a whole decimal number, or a hexadecimal one after "0x".
template <class Number>
std::optional<Number> ParseNumber(std::string_view text) {
    const int base = text.starts_with("0x") ? 16 : 10;
    if (base == 16)
        text.remove_prefix(2);
    Number value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::uint32_t Number(std::string_view option, std::string_view text, std::uint32_t limit) {
    const std::optional<std::uint32_t> value = ParseNumber<std::uint32_t>(text);
    if (!value || *value > limit)
        throw EUsage(std::string(option) + " needs a number from 0 to " + std::to_string(limit) +
                     ", not \"" + std::string(text) + "\"");
    return *value;
}

void TakePoint(Arguments& arguments, std::string_view text) {
    const std::size_t comma = std::min(text.find(','), text.size());
    const auto x = ParseNumber<std::int32_t>(text.substr(0, comma));
    const auto y = ParseNumber<std::int32_t>(text.substr(std::min(comma + 1, text.size())));
    if (!x || !y)
        throw EUsage("--at needs a point of the screen as X,Y, not \"" + std::string(text) + "\"");
    arguments.x = *x;
    arguments.y = *y;
}

/// One of the words that an option takes.
template <class Value, std::size_t kCount>
Value Choice(std::string_view option, std::string_view text,
             const std::pair<std::string_view, Value> (&words)[kCount]) {
    std::string known;
    for (const auto& [word, value] : words) {
        if (word == text)
            return value;
        known += (known.empty() ? "" : ", ") + std::string(word);
    }
    throw EUsage(std::string(option) + " needs one of " + known + ", not \"" + std::string(text) +
                 "\"");
}

constexpr std::pair<std::string_view, EHandler> kHandlers[] = {
    {"menu", EHandler::kMenu}, {"icon", EHandler::kIcon}, {"tip", EHandler::kTip}};
constexpr std::pair<std::string_view, EViewMode> kModes[] = {
    {"large", EViewMode::kLarge}, {"small", EViewMode::kSmall}, {"details", EViewMode::kDetails}};

struct NumberOption {
    std::string_view name;
    std::uint32_t Arguments::*value;
    std::uint32_t limit;
};

constexpr std::uint32_t kAny = std::numeric_limits<std::uint32_t>::max();
constexpr NumberOption kNumbers[] = {
    {"--flags", &Arguments::flags, kAny},
    {"--first", &Arguments::firstId, kAny},
    {"--last", &Arguments::lastId, kAny},
    {"--offset", &Arguments::offset, 0xFFFF},
    {"--large", &Arguments::largeSize, 0xFFFF},
    {"--small", &Arguments::smallSize, 0xFFFF},
    {"--wait", &Arguments::wait, 3600},
    {"--rounds", &Arguments::rounds, 100'000'000},
    {"--answer-after", &Arguments::answerAfter, 600'000},
};

void TakeOption(Arguments& arguments, std::string_view name, std::string_view text) {
    const auto* number = std::ranges::find(kNumbers, name, &NumberOption::name);
    if (number != std::end(kNumbers))
        arguments.*number->value = Number(name, text, number->limit);
    else if (name == "--png")
        arguments.png = Utf16FromUtf8(text);
    else if (name == "--only")
        arguments.only = Choice(name, text, kHandlers);
    else if (name == "--mode")
        arguments.mode = Choice(name, text, kModes);
    else
        TakePoint(arguments, text);
}

const CommandName& FindCommand(const std::string& name) {
    const auto* found = std::ranges::find(kCommands, name, &CommandName::name);
    if (found == std::end(kCommands))
        throw EUsage("there is no command \"" + name + "\"");
    return *found;
}

/// What an option without a value sets; null for one with a value.
bool* FlagOf(Arguments& arguments, std::string_view name) {
    if (name == "--async")
        return &arguments.isAsync;
    if (name == "--json")
        return &arguments.isJson;
    return name == "--through-shell" ? &arguments.isThroughShell : nullptr;
}

/// Takes NAME or NAME=VALUE and gives the name.
std::string TakeGiven(Arguments& arguments, const CommandName& command, std::string_view text) {
    const std::size_t equals = text.find('=');
    const bool hasValue = equals != std::string_view::npos;
    std::string name(text.substr(0, equals));
    if (command.options.find(" " + name + " ") == std::string_view::npos)
        throw EUsage(std::string(command.name) + " has no option \"" + name + "\"");
    if (bool* const flag = FlagOf(arguments, name)) {
        if (hasValue)
            throw EUsage(name + " takes no value");
        *flag = true;
    } else {
        const std::string_view value = hasValue ? text.substr(equals + 1) : std::string_view();
        if (value.empty())
            throw EUsage(name + " needs a value: " + name + "=…");
        TakeOption(arguments, name, value);
    }
    return name;
}

void CheckComplete(const CommandName& command, const std::vector<std::string>& given,
                   std::size_t files) {
    const std::string name(command.name);
    const auto needed = std::string(command.needed.substr(0, command.needed.find('=')));
    if (!needed.empty() && std::ranges::find(given, needed) == given.end())
        throw EUsage(name + " needs " + std::string(command.needed));
    if (command.command == ECommand::kView && files != 1)
        throw EUsage(name + " needs one folder");
    if (command.command == ECommand::kDoctor && files != 0)
        throw EUsage(name + " takes no files");
    if (files == 0 && command.command != ECommand::kDoctor)
        throw EUsage(name + " needs at least one file");
}

}  // namespace

Arguments ParseArguments(const std::vector<CUTF16String>& list) {
    if (list.empty())
        throw EUsage("a command is missing");
    const std::string first = Utf8(list.front());
    Arguments arguments;
    if (first == "--help" || first == "-h")
        return arguments;
    if (first == "--version") {
        arguments.command = ECommand::kVersion;
        return arguments;
    }

    const CommandName& command = FindCommand(first);
    arguments.command = command.command;
    std::vector<std::string> given;
    bool takesOptions = true;
    for (std::size_t i = 1; i < list.size(); ++i) {
        const std::string text = Utf8(list[i]);
        if (!takesOptions || !text.starts_with("-")) {
            arguments.files.push_back(list[i]);
        } else if (text == "--") {
            takesOptions = false;
        } else if (text == "--help" || text == "-h") {
            return Arguments();
        } else {
            given.push_back(TakeGiven(arguments, command, text));
        }
    }
    CheckComplete(command, given, arguments.files.size());
    return arguments;
}

}  // namespace tarnwell::shellprobe
