#pragma once

// The lock of the secure zones. It is made and used while the module is being loaded, so it does
// nothing there but initialise itself: no heap, no other library's start-up.

#include <cstddef>

namespace tarnwell {

class CCriticalSection {
public:
    CCriticalSection() noexcept;
    ~CCriticalSection();
    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;

    void Enter() noexcept;
    /// TryEnter enters if that needs no waiting, and tells whether it did.
    bool TryEnter() noexcept;
    void Leave() noexcept;

private:
    template <class Native>
    Native& As() noexcept {
        static_assert(sizeof(Native) <= sizeof(m_native));
        return *reinterpret_cast<Native*>(m_native);
    }
    alignas(std::max_align_t) unsigned char m_native[48];
};

/// Holds a critical section to the end of a block.
class CCriticalSectionLock {
public:
    explicit CCriticalSectionLock(CCriticalSection& section) noexcept : m_section(section) {
        m_section.Enter();
    }
    ~CCriticalSectionLock() { m_section.Leave(); }
    CCriticalSectionLock(const CCriticalSectionLock&) = delete;
    CCriticalSectionLock& operator=(const CCriticalSectionLock&) = delete;

private:
    CCriticalSection& m_section;
};

}  // namespace tarnwell
