#pragma once

// A value shared by counted references, so that copies are cheap; who changes a shared one gets
// a copy first. The count is plain: a value and all its holders belong to one thread.

#include <cstddef>
#include <utility>

namespace tarnwell {

template <class Value>
class CValRefCounter {
public:
    CValRefCounter() noexcept = default;
    CValRefCounter(const CValRefCounter& other) noexcept : m_shared(other.m_shared) {
        if (m_shared)
            ++m_shared->references;
    }
    CValRefCounter(CValRefCounter&& other) noexcept
        : m_shared(std::exchange(other.m_shared, nullptr)) {}
    CValRefCounter& operator=(CValRefCounter other) noexcept {
        std::swap(m_shared, other.m_shared);
        return *this;
    }
    ~CValRefCounter() {
        if (m_shared && --m_shared->references == 0)
            delete m_shared;
    }

    /// Get gives the value for reading; valid until Own or the end of this holder.
    const Value& Get() const noexcept {
        static const Value kEmpty{};
        return m_shared ? m_shared->value : kEmpty;
    }

    /// Own gives the value for writing, no longer shared with anybody.
    Value& Own() {
        if (!m_shared || m_shared->references > 1) {
            CValRefCounter own(new Shared{Get(), 1});
            std::swap(m_shared, own.m_shared);
        }
        return m_shared->value;
    }

private:
    struct Shared {
        Value value;
        std::size_t references;
    };
    explicit CValRefCounter(Shared* shared) noexcept : m_shared(shared) {}

    Shared* m_shared = nullptr;
};

}  // namespace tarnwell
