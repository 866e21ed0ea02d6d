#pragma once

// Talking to whoever started the manager. It is a program without a console of its own, so that
// none pops up over the explorer; yet it is also started from shells and through pipes.

#include <cstdint>
#include <string_view>

namespace tarnwell::manager {

/// ShowText shows `text` (UTF-8) on standard output, else on the console of the shell that
/// started the program, else in a message box.
void ShowText(std::string_view text);

/// AnnouncePort writes the port's digits and nothing else to standard output in one write, then
/// closes standard output and standard error, which may be the same pipe: its reader sees the end
/// now and not when the work is done. Without standard output the console is told. False if nobody
/// could be.
bool AnnouncePort(std::uint16_t port);

}  // namespace tarnwell::manager
