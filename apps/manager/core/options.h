#pragma once

// The manager's command line and the environment variables that stand in for it where somebody
// else (the extension) starts the manager. Pure: the caller hands in both.

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwell::manager {

enum class Run { kExplain, kHelp, kVersion, kStandalone };

struct Options {
    Run run = Run::kExplain;
    /// How long a standalone manager waits for its request.
    std::chrono::seconds idle{60};
    /// Where to keep the demo identity and the log; empty: the folder in the user's profile.
    std::u16string home;
    /// The log file; empty: the one in the home folder.
    std::u16string log;
    /// Whether recovered content is opened with the shell.
    bool open = true;
    /// What is wrong with the command line, in a sentence; empty if nothing is.
    std::string problem;
};

/// A variable of the environment by name; nothing if it is not set.
using Environment = std::function<std::optional<std::u16string>(std::u16string_view)>;

/// ParseOptions reads the arguments behind the program's name. An option wins over its variable
/// (CORVANE_HOME, CORVANE_LOG, CORVANE_NO_OPEN); a wrong command line sets `problem`.
Options ParseOptions(const std::vector<std::u16string>& arguments, const Environment& environment);

/// ArgumentText is what follows the program's own name in a command line. The extension starts the
/// manager with a path that is not quoted even when it holds blanks ("C:\Program Files (x86)\…"),
/// so an unquoted name ends behind the program's file name, which `module` (its full path) ends
/// with; where that is not found, at the first blank.
std::u16string_view ArgumentText(std::u16string_view commandLine, std::u16string_view module);

/// HelpText is what --help shows: UTF-8, lines of at most 80 columns, `home` and `log` filled in.
std::string HelpText(std::string_view home, std::string_view log);

/// ExplainText is what a start without arguments shows.
std::string ExplainText();

}  // namespace tarnwell::manager
