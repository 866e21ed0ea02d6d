#pragma once

// The registration of the event source, for whoever installs: with it the event viewer finds the
// texts of the source's events; without it they are shown as bare arguments. Constant.
//
//     HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Services\EventLog\Application\zelss
//         EventMessageFile   REG_EXPAND_SZ   the full path of zelLog.dll
//         TypesSupported     REG_DWORD       7
//
// The key goes again, whole, when the product is removed.

#include <cstdint>

namespace tarnwell {

/// The name under which events are reported.
inline constexpr char16_t kEventSourceName[] = u"zelss";

/// The source's key below HKEY_LOCAL_MACHINE.
inline constexpr char16_t kEventSourceKey[] =
    u"SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\zelss";

/// A value of the key: a file of the installation, whose full path it becomes (REG_EXPAND_SZ), or,
/// where there is none, a number (REG_DWORD).
struct EventSourceValue {
    const char16_t* name;
    const char16_t* file;
    std::uint32_t number;
};

inline constexpr EventSourceValue kEventSourceValues[] = {
    {u"EventMessageFile", u"zelLog.dll", 0},
    {u"TypesSupported", nullptr, 1 | 2 | 4},  // error, warning, information
};

}  // namespace tarnwell
