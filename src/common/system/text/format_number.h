#pragma once

// Integers as text by the rules of printf (ISO C, 7.21.6.1), for specifications that come from
// templates and therefore from files: whatever they hold, nothing undefined happens. Pure.

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace tarnwell {

/// What follows the "%" of a conversion, in ASCII: "08x". Longer than any sensible one is refused.
class NumberSpecification {
public:
    /// Add appends a unit; one that is not printable ASCII, or one too many, spoils the whole.
    constexpr void Add(char32_t unit) noexcept {
        if (unit < 0x20 || unit > 0x7E || m_length == kLongest)
            m_spoilt = true;
        else
            m_units[m_length++] = static_cast<char>(unit);
    }
    constexpr const char* Units() const noexcept { return m_units; }
    constexpr std::size_t Length() const noexcept { return m_spoilt ? 0 : m_length; }

private:
    static constexpr std::size_t kLongest = 128;
    char m_units[kLongest] = {};
    std::size_t m_length = 0;
    bool m_spoilt = false;
};

/// An integer of any type, kept with its width so that a specification of the other signedness
/// reads the same bits (-1 of 32 bits is ffffffff).
struct NumberValue {
    template <class Integer>
    explicit constexpr NumberValue(Integer value) noexcept
        : asSigned(static_cast<std::make_signed_t<Integer>>(value)),
          asUnsigned(static_cast<std::make_unsigned_t<Integer>>(value)),
          isSigned(std::is_signed_v<Integer>) {
        static_assert(sizeof(Integer) <= sizeof(std::int64_t));
    }

    std::int64_t asSigned;
    std::uint64_t asUnsigned;
    bool isSigned;
};

/// The text of a number: ASCII, at most 39 units, no terminator.
struct NumberText {
    char units[40];
    std::size_t length;
};

/// FormatNumber gives `value` as `specification` asks: flags out of "-+ #0", a width, a precision,
/// a length modifier (which is ignored: the value knows its width), one of the conversions d i u
/// o x X c, and literal text without "%" behind it. Longer text is cut after 39 units, so a huge
/// width gives 39 units of padding. Anything else (other conversions such as n or s, "*", nothing
/// at all, c for a value that is no ASCII character) gives the plain decimal text.
NumberText FormatNumber(const NumberSpecification& specification, NumberValue value) noexcept;

}  // namespace tarnwell
