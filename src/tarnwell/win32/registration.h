#pragma once

// Writes the registration table into the registry and takes it out again. The root is
// HKEY_CLASSES_ROOT for Windows and a scratch key for tests. Keeps no state.

#include <span>

#include "common/system/os/windows.h"
#include "tarnwell/core/registration_table.h"

namespace tarnwell {

/// What GetModuleFileNameW cannot fit into the classic 260 units, terminator included.
inline constexpr HRESULT kPathTooLong = static_cast<HRESULT>(0x8007007A);

/// WriteRows creates the rows' keys below `root` and sets their values, in order. Returns S_OK or
/// the first failure as HRESULT_FROM_WIN32; what was written before it stays. Throws
/// std::bad_alloc and the string class's exceptions.
HRESULT WriteRows(HKEY root, std::span<const RegistrationRow> rows, const CUTF16String& modulePath);

/// RemoveRows undoes the rows, children first, as their flags say. A missing key is no failure.
/// Returns and throws as WriteRows.
HRESULT RemoveRows(HKEY root, std::span<const RegistrationRow> rows);

/// ReadModulePath gives the full path of this module's file. kPathTooLong from 260 units on.
HRESULT ReadModulePath(CUTF16String& path);

enum class ERegistryUpdate { kRegister, kUnregister };

/// UpdateRegistry applies the whole registration table for this module below `root`. Returns S_OK
/// or the first failure: of ReadModulePath (unregistering too), WriteRows or RemoveRows. Throws
/// as they do.
HRESULT UpdateRegistry(ERegistryUpdate update, HKEY root);

/// UpdateAllClasses runs every class's registration of the object table, and stops at the first
/// failure. The classes share one table, so the result is that of a single run.
HRESULT UpdateAllClasses(ERegistryUpdate update, HKEY root) noexcept;

}  // namespace tarnwell
