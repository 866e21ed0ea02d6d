#pragma once

// Message templates with numbered placeholders, filled from a list of typed arguments:
//     CTFmtArgs<CISOEncoding>().Add(port).Add(action).Format("port %1, action %2")
// A pack shares its list with its copies. Belongs to one thread, like the strings it holds.

#include <concepts>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "common/system/text/format_number.h"
#include "common/system/text/string.h"
#include "common/system/text/val_ref_counter.h"

namespace tarnwell {

/// One argument of a message. Immutable once built.
template <class Encoding>
class CTFmtArg {
public:
    using String = CTString<Encoding>;
    using View = typename String::View;

    virtual ~CTFmtArg() = default;
    /// FormatWith gives the argument's text as `specification` asks ("08x", without the "%").
    virtual String FormatWith(View specification) const = 0;
    /// Format gives the argument's text as it is by default.
    virtual String Format() const = 0;
};

/// An integer: decimal by default; FormatNumber says what a specification can ask for.
template <class Encoding, class Integer>
class CTIntFmtArg final : public CTFmtArg<Encoding> {
public:
    using typename CTFmtArg<Encoding>::String;
    using typename CTFmtArg<Encoding>::View;

    explicit CTIntFmtArg(Integer value) noexcept : m_value(value) {}

    String FormatWith(View specification) const override {
        NumberSpecification narrow;
        for (const auto unit : specification)
            narrow.Add(static_cast<char32_t>(unit));
        return Widen(FormatNumber(narrow, NumberValue(m_value)));
    }
    String Format() const override { return Widen(FormatNumber({}, NumberValue(m_value))); }

private:
    static String Widen(const NumberText& text) {
        typename Encoding::Unit units[sizeof(text.units)];
        std::copy_n(text.units, text.length, units);
        return String(units, text.length);
    }

    Integer m_value;
};

/// A text; a specification is ignored.
template <class Encoding>
class CTStrFmtArg final : public CTFmtArg<Encoding> {
public:
    using typename CTFmtArg<Encoding>::String;
    using typename CTFmtArg<Encoding>::View;

    explicit CTStrFmtArg(String text) noexcept : m_text(std::move(text)) {}

    String FormatWith(View) const override { return m_text; }
    String Format() const override { return m_text; }

private:
    String m_text;
};

/// Integers that can be arguments: not truth values and not characters.
template <class T>
concept FmtInteger = std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char> &&
                     !std::same_as<T, wchar_t> && !std::same_as<T, char8_t> &&
                     !std::same_as<T, char16_t> && !std::same_as<T, char32_t>;

/// The arguments of one message, position 0 being placeholder 1.
template <class Encoding>
class CTFmtArgs {
public:
    using String = CTString<Encoding>;
    using View = typename String::View;
    /// The arguments are immutable, so a list and its copy may own them together.
    using CFmtArgList = std::vector<std::shared_ptr<const CTFmtArg<Encoding>>>;

    /// Add appends an argument and returns this pack, so that calls chain. A pack that shares its
    /// list gets a list of its own first; its copies do not see the new argument.
    template <FmtInteger Integer>
    CTFmtArgs& Add(Integer value) {
        return Push(std::make_shared<const CTIntFmtArg<Encoding, Integer>>(value));
    }
    CTFmtArgs& Add(String text) {
        return Push(std::make_shared<const CTStrFmtArg<Encoding>>(std::move(text)));
    }
    CTFmtArgs& Add(View text) { return Add(String(text)); }
    CTFmtArgs& Add(const typename Encoding::Unit* text) { return Add(String(text)); }

    std::size_t Count() const noexcept { return m_list.Get().size(); }

    /// Argument gives the text of argument `index` (from 0), "" at or beyond Count().
    String Argument(std::size_t index) const {
        return index < Count() ? m_list.Get()[index]->Format() : String();
    }
    String Argument(std::size_t index, View specification) const {
        return index < Count() ? m_list.Get()[index]->FormatWith(specification) : String();
    }

    /// Format expands a template: "%1" to "%9" is an argument by default, "%1!08x!" one with a
    /// specification, "%%" one "%"; "%" with anything else behind it gives nothing, for both. An
    /// argument that is missing gives nothing. A template that ends directly after "%" or inside a
    /// specification ends the text there. Fails only for want of memory.
    String Format(View text) const;

private:
    CTFmtArgs& Push(typename CFmtArgList::value_type argument) {
        m_list.Own().push_back(std::move(argument));
        return *this;
    }

    CValRefCounter<CFmtArgList> m_list;
};

template <class Encoding>
typename CTFmtArgs<Encoding>::String CTFmtArgs<Encoding>::Format(View text) const {
    using Unit = typename Encoding::Unit;
    constexpr Unit kPercent = '%';
    constexpr Unit kMark = '!';
    String result;
    result.Reserve(text.size());
    for (;;) {
        const std::size_t percent = text.find(kPercent);
        result.Append(text.substr(0, percent));
        if (percent == View::npos || percent + 1 == text.size())
            return result;
        const Unit kind = text[percent + 1];
        text.remove_prefix(percent + 2);
        if (kind == kPercent) {
            result.AppendUnit(kPercent);
        } else if (kind >= '1' && kind <= '9') {
            const auto index = static_cast<std::size_t>(kind - '1');
            if (text.empty() || text.front() != kMark) {
                result.Append(Argument(index));
                continue;
            }
            const std::size_t end = text.find(kMark, 1);
            if (end == View::npos)
                return result;
            result.Append(Argument(index, text.substr(1, end - 1)));
            text.remove_prefix(end + 1);
        }
    }
}

}  // namespace tarnwell
