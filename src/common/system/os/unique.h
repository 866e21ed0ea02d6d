#pragma once

// The one move-only owner of everything that has to be given back: handles of the operating
// system, objects of C libraries. A traits class says what "none" is and how to close.
// Aliases stand beside the interface they belong to (owners_win32.h, openssl_owners.h).

#include <utility>

namespace tarnwell {

/// Traits: `using Value`, `static Value Invalid() noexcept`, `static void Close(Value) noexcept`.
template <class Traits>
class CUnique {
public:
    using Value = typename Traits::Value;

    CUnique() noexcept : m_value(Traits::Invalid()) {}
    explicit CUnique(Value value) noexcept : m_value(value) {}
    CUnique(CUnique&& other) noexcept : m_value(other.Release()) {}
    CUnique& operator=(CUnique&& other) noexcept {
        if (this != &other)
            Reset(other.Release());
        return *this;
    }
    CUnique(const CUnique&) = delete;
    CUnique& operator=(const CUnique&) = delete;
    ~CUnique() { Reset(); }

    Value Get() const noexcept { return m_value; }
    explicit operator bool() const noexcept { return m_value != Traits::Invalid(); }

    /// Release hands the value to the caller, who now has to close it.
    [[nodiscard]] Value Release() noexcept { return std::exchange(m_value, Traits::Invalid()); }

    /// Reset closes what is held and takes `value` instead.
    void Reset(Value value = Traits::Invalid()) noexcept {
        const Value old = std::exchange(m_value, value);
        if (old != Traits::Invalid())
            Traits::Close(old);
    }

    /// Put closes what is held and gives the address for a function that fills it in.
    [[nodiscard]] Value* Put() noexcept {
        Reset();
        return &m_value;
    }

private:
    Value m_value;
};

/// Traits for a pointer that a C function frees: CUnique<CPointerTraits<X509, X509_free>>.
template <class T, auto kFree>
struct CPointerTraits {
    using Value = T*;
    static constexpr Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { kFree(value); }
};

}  // namespace tarnwell
