#pragma once

// Shell objects want an apartment with the full OLE, as the explorer's threads have. One a thread
// that uses handlers, for as long as it does.

#include "common/system/os/windows.h"
// Windows last.
#include <ole2.h>

namespace tarnwell::shellprobe {

class COleApartment {
public:
    COleApartment() noexcept { OleInitialize(nullptr); }
    ~COleApartment() { OleUninitialize(); }
    COleApartment(const COleApartment&) = delete;
    COleApartment& operator=(const COleApartment&) = delete;
};

}  // namespace tarnwell::shellprobe
