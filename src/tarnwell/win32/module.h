#pragma once

// The module: one for the process, alive from load to unload. It knows the DLL's instance handle,
// counts what keeps the DLL loaded, and hands out the class objects. Any thread may call.

#include <array>
#include <atomic>
#include <cstdint>

#include "common/system/os/windows.h"
#include "tarnwell/win32/object_table.h"
// Windows last.
#include <unknwn.h>

namespace tarnwell {

class CModule {
public:
    /// Attach records the handle of the DLL. It is called once, under the loader lock.
    void Attach(HINSTANCE instance) noexcept { m_instance = instance; }

    /// Instance is where the resources are; null, which means the program's own file, in a
    /// program that links the extension instead of loading it.
    HINSTANCE Instance() const noexcept { return m_instance; }

    /// Lock keeps the DLL loaded until a matching Unlock: one for each live handler object, each
    /// LockServer(TRUE) and each class object somebody outside holds.
    void Lock() noexcept { m_locks.fetch_add(1, std::memory_order_relaxed); }
    void Unlock() noexcept { m_locks.fetch_sub(1, std::memory_order_release); }

    /// GetClassObject gives the class object of `classId` as `id`. E_INVALIDARG for a null
    /// `object`, CLASS_E_CLASSNOTAVAILABLE for an unknown class, E_NOINTERFACE, E_OUTOFMEMORY;
    /// every failure sets *object to null.
    HRESULT GetClassObject(REFCLSID classId, REFIID id, void** object) noexcept;

    /// CanUnloadNow answers S_OK when nothing keeps the DLL loaded, S_FALSE otherwise.
    HRESULT CanUnloadNow() noexcept;

    CModule() noexcept { InitializeCriticalSection(&m_section); }
    /// The destructor runs when the DLL is unloaded; nothing of it is in use any more.
    ~CModule();
    CModule(const CModule&) = delete;
    CModule& operator=(const CModule&) = delete;

private:
    /// CachedClassObject gives entry `index` of the object table's class object, whose reference
    /// stays the cache's; makes it the first time. Throws std::bad_alloc.
    IClassFactory& CachedClassObject(std::size_t index);

    HINSTANCE m_instance = nullptr;
    std::atomic<std::int32_t> m_locks{0};
    CRITICAL_SECTION m_section;  // guards the class objects while they come into being
    std::array<IClassFactory*, kClassCount> m_classObjects{};  // one reference each
};

/// Module is the process's one module.
CModule& Module() noexcept;

/// Holds the module's lock as long as it lives: a member of everything handed to the outside.
class CModuleLock {
public:
    CModuleLock() noexcept { Module().Lock(); }
    ~CModuleLock() { Module().Unlock(); }
    CModuleLock(const CModuleLock&) = delete;
    CModuleLock& operator=(const CModuleLock&) = delete;
};

}  // namespace tarnwell
