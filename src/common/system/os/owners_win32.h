#pragma once

// Owners of what Windows hands out; each closes with the call that its platform page names.

#include "common/system/os/unique.h"
#include "common/system/os/windows.h"

// objbase.h needs windows.h before it.
#include <objbase.h>

namespace tarnwell {

/// Kernel handles: pipes, processes, threads, events. Null is "none".
struct HandleTraits {
    using Value = HANDLE;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { CloseHandle(value); }
};
using CUniqueHandle = CUnique<HandleTraits>;

/// Handles of CreateFileW, whose "none" is INVALID_HANDLE_VALUE.
struct FileHandleTraits {
    using Value = HANDLE;
    static Value Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) noexcept { CloseHandle(value); }
};
using CUniqueFile = CUnique<FileHandleTraits>;

struct RegistryKeyTraits {
    using Value = HKEY;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { RegCloseKey(value); }
};
using CUniqueRegistryKey = CUnique<RegistryKeyTraits>;

struct ModuleTraits {
    using Value = HMODULE;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { FreeLibrary(value); }
};
using CUniqueModule = CUnique<ModuleTraits>;

struct IconTraits {
    using Value = HICON;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { DestroyIcon(value); }
};
using CUniqueIcon = CUnique<IconTraits>;

struct BitmapTraits {
    using Value = HBITMAP;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { DeleteObject(value); }
};
using CUniqueBitmap = CUnique<BitmapTraits>;

struct MenuTraits {
    using Value = HMENU;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { DestroyMenu(value); }
};
using CUniqueMenu = CUnique<MenuTraits>;

/// What a function of the shell or of COM hands out for CoTaskMemFree: paths, lists, names.
template <class T>
struct TaskMemoryTraits {
    using Value = T*;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { CoTaskMemFree(value); }
};
template <class T>
using CUniqueTaskMemory = CUnique<TaskMemoryTraits<T>>;

}  // namespace tarnwell
