#pragma once

// The table of handler classes behind the four exports: a line a class.

#include <cstddef>
#include <span>

#include "common/system/os/windows.h"
#include "tarnwell/win32/registration.h"
// Windows last.
#include <unknwn.h>

namespace tarnwell {

inline constexpr std::size_t kClassCount = 3;

struct ObjectTableEntry {
    const CLSID* classId;
    /// Makes the class object; its one reference is the caller's. Throws std::bad_alloc.
    IClassFactory* (*makeClassObject)();
    /// Registers or unregisters the class.
    HRESULT (*updateRegistry)(ERegistryUpdate update, HKEY root);
};

/// ObjectTable gives all classes, in the order in which they are registered.
std::span<const ObjectTableEntry, kClassCount> ObjectTable() noexcept;

}  // namespace tarnwell
