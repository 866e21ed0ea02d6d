#include "shellprobe/commands.h"

namespace tarnwell::shellprobe {

int RunView(const Arguments&) {
    throw EUsage("the window of \"view\" is not there yet");
}

}  // namespace tarnwell::shellprobe
