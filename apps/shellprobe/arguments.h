#pragma once

// What the user asked for on the command line. Pure.

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/system/text/string.h"

namespace tarnwell::shellprobe {

enum class ECommand {
    kMenu,
    kInvoke,
    kPopup,
    kIcon,
    kTip,
    kStress,
    kView,
    kDoctor,
    kHelp,
    kVersion
};
enum class EHandler { kMenu, kIcon, kTip };
enum class EViewMode { kLarge, kSmall, kDetails };

struct Arguments {
    ECommand command = ECommand::kHelp;
    std::uint32_t flags = 0;    ///< CMF_… of the menu
    std::uint32_t firstId = 1;  ///< ids that the handler may use
    std::uint32_t lastId = 0x7FFF;
    std::uint32_t offset = 0;       ///< of the command to carry out
    std::uint32_t answerAfter = 0;  ///< milliseconds that a message box stays
    std::int32_t x = 0;             ///< of the pop-up menu, in screen pixels
    std::int32_t y = 0;
    std::uint32_t largeSize = 32;  ///< of the icons, in pixels; 0 for none, at most 65535
    std::uint32_t smallSize = 16;
    bool isAsync = false;         ///< the caller would rather wait in the background
    bool isThroughShell = false;  ///< ask the system's shell, not the handler itself
    CUTF16String png;             ///< how the pictures' names start; empty for no pictures
    std::uint32_t rounds = 0;
    std::optional<EHandler> only;  ///< to stress; all without it
    EViewMode mode = EViewMode::kLarge;
    bool isJson = false;              ///< a report as JSON instead of text
    std::uint32_t wait = 20;          ///< seconds for each thing that the manager is asked
    std::vector<CUTF16String> files;  ///< at least one; one folder for kView, none for kDoctor
};

/// A wrong command line; what() says what is wrong and what to write instead.
class EUsage : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// ParseArguments reads the list of arguments without the program's name. Options are written
/// "--name=VALUE" and may stand anywhere behind the command; "--" ends them. Throws EUsage.
Arguments ParseArguments(const std::vector<CUTF16String>& list);

/// HelpText is what --help prints.
std::string HelpText();

}  // namespace tarnwell::shellprobe
