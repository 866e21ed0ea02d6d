#pragma once

// The probe's commands. Each prints its JSON line and returns the exit status.

#include "shellprobe/arguments.h"

namespace tarnwell::shellprobe {

/// Run carries out what was asked for; COM must be initialised on this thread. Throws ENoHandler.
int Run(const Arguments& arguments);

}  // namespace tarnwell::shellprobe
