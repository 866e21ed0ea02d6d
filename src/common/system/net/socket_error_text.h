#pragma once

// English texts for socket errors. Fixed here rather than asked of the system, so that a trace
// reads the same on every machine and in every language. Pure; any thread may call.

namespace tarnwell {

/// SocketErrorText gives the text for a Winsock error code (10004 to 11004, and 0), "Undefined
/// error" for a code it does not know. The text is a literal and lives for ever.
const char* SocketErrorText(int code) noexcept;

}  // namespace tarnwell
