#pragma once

// The names that the manager writes to: beside the file it was asked to work on, numbered where a
// file of that name exists. Pure; any thread may call.

#include <string>
#include <string_view>

namespace tarnwell::manager {

/// ProtectedPath is where a signed or encrypted file goes: "report.pdf" gives "report.pdf.p7".
std::u16string ProtectedPath(std::u16string_view path);

/// RecoveredPath is where the content of a protected file goes: "report.pdf.p7" gives
/// "report.pdf", and so does "report.pdf (2).p7". Where nothing usable is left of the name (no dot,
/// only a dot in front, a device's name such as "CON"), it is the name and ".content".
std::u16string RecoveredPath(std::u16string_view path);

/// NumberedPath gives the n-th choice for `path`: itself for 1, then " (2)", " (3)" before the
/// last dot of the name ("report (2).pdf"), at its end where it has none or only one in front.
std::u16string NumberedPath(std::u16string_view path, unsigned n);

/// IsProgram tells whether opening a file of this name would run it or something it names, judged
/// by the extension: such content is never opened without the user.
bool IsProgram(std::u16string_view path);

}  // namespace tarnwell::manager
