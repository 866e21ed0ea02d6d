#pragma once

// What the event log is told and how an event reads. An event belongs to one thread, like the
// strings in it. Pure.

#include <cstdint>

#include "common/system/text/format.h"

namespace tarnwell {

/// An event: the identifier names its text in the message table of zelLog.dll (zellog/messages.mc)
/// and carries the severity in its top two bits; the arguments fill that text's placeholders.
struct CEvent {
    std::uint32_t identifier = 0;
    std::uint16_t category = 0;
    CTFmtArgs<CUTF16Encoding> arguments;
};

/// The events of the foundation; the facility is 0x101. Argument 1 of the first is the text as it
/// is; of the others the name of a system call and a number: its error code, its result.
inline constexpr std::uint32_t kEventReadyMade = 0xC1010001;
inline constexpr std::uint32_t kEventSystemCallFailed = 0xC1010002;
inline constexpr std::uint32_t kEventUnexpectedResult = 0xC1010003;

/// The kinds that the event log knows, by its own numbers.
enum class EEventType : std::uint16_t { kError = 1, kWarning = 2, kInformation = 4 };

/// EventTypeOf maps the severity bits: 1 information, 2 warning, 3 error. Severity 0, success, is
/// an error as well: nobody would report one, so its sender forgot the severity.
constexpr EEventType EventTypeOf(std::uint32_t identifier) noexcept {
    switch (identifier >> 30 & 3) {
        case 1:
            return EEventType::kInformation;
        case 2:
            return EEventType::kWarning;
        default:
            return EEventType::kError;
    }
}

/// UnknownEventText is what can be said of an event without its text: its identifier (eight
/// hexadecimal digits) and its arguments, one a line.
CUTF16String UnknownEventText(const CEvent& event);

/// WithoutTrailingSpace is the text without blanks and line ends behind it.
CUTF16String WithoutTrailingSpace(const CUTF16String& text);

}  // namespace tarnwell
