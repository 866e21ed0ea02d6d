#pragma once

// Owners of what Windows hands out; each closes with the call that its platform page names.

#include "common/system/os/unique.h"
#include "common/system/os/windows.h"

#include <type_traits>

// objbase.h needs windows.h before it.
#include <objbase.h>

namespace tarnwell {

/// Traits for a handle type whose "none" is null and that `kClose` gives back.
template <class Handle, auto kClose>
using CHandleTraits = CPointerTraits<std::remove_pointer_t<Handle>, kClose>;

using CUniqueHandle = CUnique<CHandleTraits<HANDLE, CloseHandle>>;  ///< pipes, processes, events
using CUniqueRegistryKey = CUnique<CHandleTraits<HKEY, RegCloseKey>>;
using CUniqueModule = CUnique<CHandleTraits<HMODULE, FreeLibrary>>;
using CUniqueIcon = CUnique<CHandleTraits<HICON, DestroyIcon>>;
using CUniqueBitmap = CUnique<CHandleTraits<HBITMAP, DeleteObject>>;
using CUniqueDc = CUnique<CHandleTraits<HDC, DeleteDC>>;  ///< of CreateCompatibleDC, not of GetDC
using CUniqueMenu = CUnique<CHandleTraits<HMENU, DestroyMenu>>;

/// Handles of CreateFileW, whose "none" is INVALID_HANDLE_VALUE.
struct FileHandleTraits {
    using Value = HANDLE;
    static Value Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) noexcept { CloseHandle(value); }
};
using CUniqueFile = CUnique<FileHandleTraits>;

/// What a function of the shell or of COM hands out for CoTaskMemFree: paths, lists, names.
template <class T>
using CUniqueTaskMemory = CUnique<CPointerTraits<T, CoTaskMemFree>>;

/// Keeps `object` selected into a device context for as long as it lives.
class CSelectObject {
public:
    CSelectObject(HDC dc, HGDIOBJ object) noexcept : m_dc(dc), m_before(SelectObject(dc, object)) {}
    ~CSelectObject() {
        if (m_before)
            SelectObject(m_dc, m_before);
    }
    CSelectObject(const CSelectObject&) = delete;
    CSelectObject& operator=(const CSelectObject&) = delete;

    /// False if the object could not be selected: a bitmap can be in one device context at a time.
    explicit operator bool() const noexcept { return m_before != nullptr; }

private:
    HDC m_dc;
    HGDIOBJ m_before;
};

}  // namespace tarnwell
