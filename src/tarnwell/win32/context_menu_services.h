#pragma once

// What the context menu needs from outside itself: the catalogue, the hand-over of a command and
// the message box. A narrow seam: tests put their own in its place. Called on the handler's thread.

#include <span>

#include "common/system/os/windows.h"
#include "tarnwell/core/request_codes.h"
#include "tarnwell/win32/catalogue_source.h"

namespace tarnwell {

class CMenuServices : public CCatalogueSource {
public:
    /// Send carries out a command as SendToServer does.
    virtual ResultCode Send(ActionCode action, std::span<const CUTF16String> files) = 0;

    /// ShowMessage shows a box with an information icon and one button, and waits for it.
    virtual void ShowMessage(HWND owner, const CUTF16String& title, const CUTF16String& text) = 0;

    /// System is the real thing, alive as long as the module.
    static CMenuServices& System() noexcept;
};

}  // namespace tarnwell
