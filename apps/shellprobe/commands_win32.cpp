#include "shellprobe/commands.h"

#include <cstdio>

#include "version.h"

namespace tarnwell::shellprobe {

int Run(const Arguments& arguments) {
    switch (arguments.command) {
        case ECommand::kMenu:
            return RunMenu(arguments);
        case ECommand::kInvoke:
            return RunInvoke(arguments);
        case ECommand::kPopup:
            return RunPopup(arguments);
        case ECommand::kIcon:
            return RunIcon(arguments);
        case ECommand::kTip:
            return RunTip(arguments);
        case ECommand::kStress:
            return RunStress(arguments);
        case ECommand::kView:
            return RunView(arguments);
        case ECommand::kDoctor:
            return RunDoctor(arguments);
        case ECommand::kVersion:
            (void)std::printf("shellprobe %s\n", TARNWELL_VERSION_TEXT);
            return 0;
        case ECommand::kHelp:
            break;
    }
    (void)std::printf("%s", HelpText().c_str());
    return 0;
}

}  // namespace tarnwell::shellprobe
