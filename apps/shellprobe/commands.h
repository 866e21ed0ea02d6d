#pragma once

// The probe's commands. Each prints its JSON and returns the exit status; COM must be initialised
// on the thread. They throw ENoHandler where a handler cannot be had or refuses its work. A command
// stands in a file of its own, <name>_command_win32.cpp. Doctor throws nothing: what cannot be had
// is a line of its report.

#include "shellprobe/arguments.h"

namespace tarnwell::shellprobe {

/// Run carries out what was asked for.
int Run(const Arguments& arguments);

int RunMenu(const Arguments& arguments);
int RunInvoke(const Arguments& arguments);
int RunPopup(const Arguments& arguments);
int RunIcon(const Arguments& arguments);
int RunTip(const Arguments& arguments);
int RunStress(const Arguments& arguments);
int RunView(const Arguments& arguments);
int RunDoctor(const Arguments& arguments);

}  // namespace tarnwell::shellprobe
