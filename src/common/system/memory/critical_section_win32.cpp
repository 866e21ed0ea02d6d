#include <windows.h>

#include "common/system/memory/critical_section.h"

namespace tarnwell {

CCriticalSection::CCriticalSection() noexcept {
    // Without debug information nothing is taken from the heap, and the call cannot fail.
    InitializeCriticalSectionEx(&As<CRITICAL_SECTION>(), 4000, CRITICAL_SECTION_NO_DEBUG_INFO);
}

CCriticalSection::~CCriticalSection() {
    DeleteCriticalSection(&As<CRITICAL_SECTION>());
}

void CCriticalSection::Enter() noexcept {
    EnterCriticalSection(&As<CRITICAL_SECTION>());
}

bool CCriticalSection::TryEnter() noexcept {
    return TryEnterCriticalSection(&As<CRITICAL_SECTION>()) != FALSE;
}

void CCriticalSection::Leave() noexcept {
    LeaveCriticalSection(&As<CRITICAL_SECTION>());
}

}  // namespace tarnwell
