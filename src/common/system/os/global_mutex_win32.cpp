#include "common/system/os/global_mutex_win32.h"

#include <exception>

#include "common/system/trace/trace.h"

namespace tarnwell {
namespace {

/// Keeps the maker's names apart from everybody else's.
constexpr char16_t kPrefix[] = u"c6e241f3-aa55-4c33-80ce-1dd5d0c8c3d0/";

HANDLE Create(const CUTF16String& name) noexcept try {
    return CreateMutexW(nullptr, FALSE, Wide(CUTF16String(kPrefix) + name));
} catch (const std::exception&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

}  // namespace

CGlobalMutex::CGlobalMutex(const CUTF16String& name) noexcept : m_mutex(Create(name)) {
    if (!m_mutex)
        TraceString("Warning: Mutex creation failed: %s", GetWin32ErrorString(GetLastError()));
}

void CGlobalMutex::lock() const noexcept {
    if (m_mutex)
        WaitForSingleObject(m_mutex.Get(), INFINITE);
}

void CGlobalMutex::unlock() const noexcept {
    if (m_mutex)
        ReleaseMutex(m_mutex.Get());
}

}  // namespace tarnwell
