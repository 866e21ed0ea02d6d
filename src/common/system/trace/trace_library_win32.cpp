#include <windows.h>

#include <exception>
#include <string>

#include "common/system/trace/trace_library.h"

namespace tarnwell {
namespace {

HMODULE OwnModule() noexcept {
    static const char here = 0;  // any address inside the module names it
    HMODULE module = nullptr;
    GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<const wchar_t*>(&here), &module);
    return module;
}

/// The full path beside the module, so that nothing of that name in the current folder or on the
/// search path is ever loaded into the explorer. Empty if the module's path cannot be had.
std::wstring LibraryPath() {
    constexpr std::size_t kLongestPath = 32768;  // units that the system can give for a module
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            GetModuleFileNameW(OwnModule(), path.data(), static_cast<DWORD>(path.size()));
        if (length == 0)
            return {};
        if (length < path.size()) {
            path.resize(length);
            break;
        }
        if (path.size() >= kLongestPath)
            return {};
        path.resize(path.size() * 2);
    }
    const std::size_t folder = path.find_last_of(L'\\');
    if (folder == std::wstring::npos)
        return {};
    path.resize(folder);
    path += L"\\zelLog.dll";
    return path;
}

HMODULE Load() noexcept try {
    const std::wstring path = LibraryPath();
    return path.empty() ? nullptr
                        : LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
} catch (const std::exception&) {
    return nullptr;  // without memory for the path there is no library
}

template <class Entry>
void Bind(HMODULE library, const char* name, Entry& entry) noexcept {
    entry = reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

struct BoundLibrary {
    TraceLibrary entries;
    bool found = false;

    // The reference is never given back. The only moment at which nobody can be inside the
    // library any more is this module's own detach, and that runs under the loader lock, where
    // FreeLibrary is forbidden. One small DLL stays mapped until the process ends; loading this
    // module again finds the same copy.
    BoundLibrary() noexcept {
        const DWORD kept = GetLastError();  // callers trace before they read a failed call's error
        const HMODULE library = Load();
        SetLastError(kept);
        if (!library)
            return;
        Bind(library, "TraceEnter", entries.traceEnter);
        Bind(library, "TraceLeave", entries.traceLeave);
        Bind(library, "TraceString", entries.traceString);
        Bind(library, "GetWin32ErrorString", entries.getWin32ErrorString);
        Bind(library, "GetCkErrorString", entries.getCkErrorString);
        found = true;
    }
};

}  // namespace

bool TraceIsOpenFromStart() noexcept {
    return OwnModule() == GetModuleHandleW(nullptr);
}

const TraceLibrary* BindTraceLibrary() noexcept {
    static const BoundLibrary bound;
    return bound.found ? &bound.entries : nullptr;
}

}  // namespace tarnwell
