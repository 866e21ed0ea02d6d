#pragma once

// Where a file's pictures come from: from its type's icon handler if it has one, else from the
// system. The thread must have COM initialised.

#include <string>

#include "common/system/os/owners_win32.h"

namespace tarnwell::shellprobe {

inline constexpr WORD kLargeIcon = 48;  // pixels, width and height
inline constexpr WORD kSmallIcon = 16;

struct FileIcons {
    CUniqueIcon large;
    CUniqueIcon small;

    explicit operator bool() const noexcept { return large && small; }
};

/// SystemIcons gives the pictures that the system has for files like this one; empty ones where it
/// has none.
FileIcons SystemIcons(const std::wstring& file);

/// GenericIcons gives the pictures of a file of which nothing is known yet.
FileIcons GenericIcons();

enum class EHaste {
    kNow,      ///< the window waits: a handler that would be slow says so and is left alone
    kPatient,  ///< on a thread on which nothing waits
};

struct HandlerIcons {
    HRESULT result = S_FALSE;  ///< S_FALSE: the type has no handler; E_PENDING: ask patiently
    FileIcons icons;           ///< whole with S_OK, empty otherwise
};

/// AskHandler asks the icon handler of the file's type, an object made for this one question.
/// Never throws: a handler that cannot be had is a failure in `result`.
HandlerIcons AskHandler(const std::wstring& file, EHaste haste) noexcept;

}  // namespace tarnwell::shellprobe
