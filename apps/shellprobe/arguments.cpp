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
};

constexpr CommandName kCommands[] = {
    {"menu", ECommand::kMenu, " --flags --first --last "},
    {"invoke", ECommand::kInvoke, " --offset --flags --answer-after "},
    {"popup", ECommand::kPopup, " --at --flags "},
    {"stress", ECommand::kStress, " --rounds "},
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

void TakeOption(Arguments& arguments, std::string_view name, std::string_view value) {
    constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();
    if (name == "--flags")
        arguments.flags = Number(name, value, kMax);
    else if (name == "--first")
        arguments.firstId = Number(name, value, kMax);
    else if (name == "--last")
        arguments.lastId = Number(name, value, kMax);
    else if (name == "--offset")
        arguments.offset = Number(name, value, 0xFFFF);
    else if (name == "--answer-after")
        arguments.answerAfter = Number(name, value, 600'000);
    else if (name == "--rounds")
        arguments.rounds = Number(name, value, 100'000'000);
    else
        TakePoint(arguments, value);
}

const CommandName& FindCommand(const std::string& name) {
    const auto* found = std::ranges::find(kCommands, name, &CommandName::name);
    if (found == std::end(kCommands))
        throw EUsage("there is no command \"" + name + "\"");
    return *found;
}

/// The options without which a command makes no sense.
void CheckNeeded(const CommandName& command, const std::vector<std::string>& given) {
    const auto isGiven = [&](std::string_view name) {
        return std::ranges::find(given, name) != given.end();
    };
    for (const auto& [needing, option] :
         {std::pair(ECommand::kInvoke, "--offset=N"), std::pair(ECommand::kPopup, "--at=X,Y"),
          std::pair(ECommand::kStress, "--rounds=N")}) {
        const std::string_view text = option;
        if (command.command == needing && !isGiven(text.substr(0, text.find('='))))
            throw EUsage(std::string(command.name) + " needs " + option);
    }
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
            const std::size_t equals = text.find('=');
            const std::string name = text.substr(0, equals);
            if (command.options.find(" " + name + " ") == std::string_view::npos)
                throw EUsage(first + " has no option \"" + name + "\"");
            if (equals == std::string::npos)
                throw EUsage(name + " needs a value: " + name + "=…");
            TakeOption(arguments, name, std::string_view(text).substr(equals + 1));
            given.push_back(name);
        }
    }
    CheckNeeded(command, given);
    if (arguments.files.empty())
        throw EUsage(first + " needs at least one file");
    return arguments;
}

std::string HelpText() {
    return R"(shellprobe: a small explorer. It finds the context-menu handler in the registry, as the
explorer does, and drives it through COM for the files it is given.

  shellprobe menu [--flags=0] [--first=1] [--last=32767] FILE...
      shows the items that the handler puts into the menu of these files, as one line of JSON;
      --flags are the CMF_ flags of the menu, --first and --last the ids that it may use
  shellprobe invoke --offset=N [--flags=0] [--answer-after=0] FILE...
      carries out the command at that offset, answers the message boxes it is shown (each after
      that many milliseconds) and reports them
  shellprobe popup --at=X,Y [--flags=0] FILE...
      shows the real pop-up menu at that point of the screen and carries out what is chosen
  shellprobe stress --rounds=N FILE...
      builds the menu 100 times, then N times more, and reports before and after these N what the
      process holds: heap bytes and blocks, committed bytes, handles, GDI objects
  shellprobe --help | --version

Files that lie in one folder are handed over by the system's own data object, others by one made
here. Standard output carries JSON in UTF-8 and nothing else.
Exit status: 0 if the handler answered with success, 1 if it failed or could not be had, 2 for a
wrong command line.
)";
}

}  // namespace tarnwell::shellprobe
