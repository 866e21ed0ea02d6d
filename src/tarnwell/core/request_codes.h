#pragma once

// The numbers that the context menu, the manager request and the local opening share.

#include <cstdint>

namespace tarnwell {

/// What the user chose. Any other value is possible and is sent to the manager without a name.
using ActionCode = std::uint32_t;
inline constexpr ActionCode kActionSign = 0;
inline constexpr ActionCode kActionEncrypt = 1;
inline constexpr ActionCode kActionSignEncrypt = 2;
inline constexpr ActionCode kActionRecover = 3;
inline constexpr ActionCode kActionUnknown = 4;
/// Opened by the extension itself; never sent.
inline constexpr ActionCode kActionOpen = 5;

/// How it went.
using ResultCode = std::uint32_t;
inline constexpr ResultCode kResultDone = 0;
/// The signed content could not be taken out of its file.
inline constexpr ResultCode kResultRecoverFailed = 1;
/// The content lies beside its file, but no program opened it.
inline constexpr ResultCode kResultOpenFailed = 2;
/// Anything else: no manager, no answer, a file that is not only signed.
inline constexpr ResultCode kResultFailed = 3;

}  // namespace tarnwell
