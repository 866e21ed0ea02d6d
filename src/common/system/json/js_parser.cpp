#include "common/system/json/js_parser.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include "common/system/json/white_space.h"
#include "common/system/text/convert.h"

namespace tarnwell {
namespace {

template <class Value, class... Arguments>
CJSValueOwner Make(Arguments&&... arguments) {
    return CJSValueOwner(std::make_unique<Value>(std::forward<Arguments>(arguments)...).release());
}

constexpr bool IsDigit(char unit) noexcept {
    return unit >= '0' && unit <= '9';
}

constexpr bool IsOctalDigit(char unit) noexcept {
    return unit >= '0' && unit <= '7';
}

constexpr bool IsNameStart(char unit) noexcept {
    return (unit >= 'A' && unit <= 'Z') || (unit >= 'a' && unit <= 'z') || unit == '_' ||
           unit == '$';
}

constexpr bool IsNamePart(char unit) noexcept {
    return IsNameStart(unit) || IsDigit(unit);
}

/// Ends a run of ordinary bytes in a string.
constexpr bool IsSpecialInString(char unit) noexcept {
    return unit == '"' || unit == '\\' || unit == '\n';
}

void ReportMissingColon(const CISOString& key) {
    std::string line = "JSON object parsing error: \"";
    line += key.AsView();
    line += "\" is not followed by ':'!\n";
    static_cast<void>(std::fwrite(line.data(), 1, line.size(), stdout));
}

// The analyzer does not see that CJSValueOwner's deleter takes what std::make_unique has made.
// NOLINTBEGIN(clang-analyzer-cplusplus.NewDeleteLeaks)

/// One pass over the text. The cursor is where the next byte is read; every read is guarded by
/// AtEnd or Remaining.
class CParser {
public:
    CParser(const char* cursor, const char* end) noexcept : m_cursor(cursor), m_end(end) {}

    const char* Cursor() const noexcept { return m_cursor; }

    CJSValueOwner Root() {
        CJSValueOwner root = Value(0);
        return m_tooDeep ? CJSValue::UndefinedOwner() : std::move(root);
    }

private:
    bool AtEnd() const noexcept { return m_cursor == m_end; }
    std::size_t Remaining() const noexcept { return static_cast<std::size_t>(m_end - m_cursor); }
    bool IsAt(char unit) const noexcept { return !AtEnd() && *m_cursor == unit; }

    bool Take(char unit) noexcept {
        if (!IsAt(unit))
            return false;
        ++m_cursor;
        return true;
    }

    bool Take(std::string_view word) noexcept {
        if (!std::string_view(m_cursor, Remaining()).starts_with(word))
            return false;
        m_cursor += word.size();
        return true;
    }

    void SkipSpace() noexcept {
        while (!AtEnd() && IsJSWhiteSpace(*m_cursor))
            ++m_cursor;
    }

    /// TakeWhile gives the longest run of units that `isPart` accepts.
    template <class Predicate>
    std::string_view TakeWhile(Predicate isPart) noexcept {
        const char* const start = m_cursor;
        while (!AtEnd() && isPart(*m_cursor))
            ++m_cursor;
        return {start, static_cast<std::size_t>(m_cursor - start)};
    }

    CJSValueOwner Abort() noexcept {
        m_cursor = m_end;
        return CJSValue::UndefinedOwner();
    }

    CJSValueOwner Value(int depth) {
        SkipSpace();
        if (AtEnd())
            return CJSValue::UndefinedOwner();
        const char first = *m_cursor;
        if (first == '"') {
            CISOString text;
            return String(text) ? Make<CJSString>(std::move(text)) : CJSValue::UndefinedOwner();
        }
        if (first == '{' || first == '[') {
            if (depth == kMaxJSDepth) {
                m_tooDeep = true;
                return Abort();
            }
            return first == '{' ? Object(depth + 1) : Array(depth + 1);
        }
        if (Take("true"))
            return Make<CJSBoolean>(true);
        if (Take("false"))
            return Make<CJSBoolean>(false);
        if (IsDigit(first))
            return Make<CJSInteger>(Integer());
        return CJSValue::UndefinedOwner();
    }

    CJSValueOwner Object(int depth) {
        auto object = std::make_unique<CJSObject>();
        ++m_cursor;
        for (;;) {
            SkipSpace();
            if (Take('}'))
                return CJSValueOwner(object.release());
            CISOString key;
            if (!Key(key))
                return Abort();
            SkipSpace();
            if (!Take(':')) {
                ReportMissingColon(key);
                return Abort();
            }
            object->Append(std::move(key), Value(depth));
            SkipSpace();
            if (!Take(',') && !IsAt('}'))
                return Abort();
        }
    }

    CJSValueOwner Array(int depth) {
        auto array = std::make_unique<CJSArray>();
        ++m_cursor;
        SkipSpace();
        if (Take(']'))
            return CJSValueOwner(array.release());
        // Whatever stands behind a value is consumed, and anything but a comma ends the array:
        // the manager's catalogues close arrays with other brackets too.
        bool more = true;
        while (more) {
            array->Append(Value(depth));
            SkipSpace();
            more = !AtEnd() && *m_cursor++ == ',';
        }
        return CJSValueOwner(array.release());
    }

    /// Key reads a quoted string or a bare name; false where there is neither.
    bool Key(CISOString& key) {
        if (IsAt('"'))
            return String(key);
        if (AtEnd() || !IsNameStart(*m_cursor))
            return false;
        key = CISOString(TakeWhile(IsNamePart));
        return true;
    }

    /// Integer reads digits and stays at the largest value once they exceed it.
    std::int32_t Integer() noexcept {
        constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();
        std::int64_t value = 0;
        for (const char digit : TakeWhile(IsDigit))
            value = std::min(kMax, value * 10 + (digit - '0'));
        return static_cast<std::int32_t>(value);
    }

    /// String reads the text behind the opening quote; false at a raw line feed or where the text
    /// ends first.
    bool String(CISOString& text) {
        ++m_cursor;
        const std::string_view plain =
            TakeWhile([](char unit) { return !IsSpecialInString(unit); });
        if (Take('"')) {
            text = CISOString(plain);
            return true;
        }
        // Texts with escapes are put together here, so that the string takes just what it needs.
        m_scratch.assign(plain);
        while (!Take('"')) {
            if (AtEnd() || *m_cursor == '\n')
                return false;
            if (Take('\\')) {
                if (!Escape())
                    return false;
            } else {
                m_scratch += TakeWhile([](char unit) { return !IsSpecialInString(unit); });
            }
            if (m_cutEscape) {
                m_cutEscape = false;
                text.Clear();
                return true;
            }
        }
        text = CISOString(std::string_view(m_scratch));
        return true;
    }

    /// Escape handles what stands behind a backslash; false at the end of the text.
    bool Escape() {
        if (AtEnd())
            return false;
        const char unit = *m_cursor;
        if (IsOctalDigit(unit)) {
            AppendOctal();
            return true;
        }
        ++m_cursor;
        switch (unit) {
            case 'n':
                m_scratch += '\n';
                break;
            case 'r':
                m_scratch += '\r';
                break;
            case 't':
                m_scratch += '\t';
                break;
            case 'b':
                m_scratch += '\b';
                break;
            case 'f':
                m_scratch += '\f';
                break;
            case 'v':
                m_scratch += '\v';
                break;
            case '\\':
            case '"':
            case '\'':
                m_scratch += unit;
                break;
            case '\n':
                Take('\r');
                break;
            case '\r':
                Take('\n');
                break;
            case 'x':
                AppendHex(2);
                break;
            case 'u':
                AppendHex(4);
                break;
            default:
                // Every other escaped byte is dropped with its backslash, "/" and "a" included.
                break;
        }
        return true;
    }

    void AppendCode(char32_t code) {
        char units[CISOEncoding::kMaxUnits];
        m_scratch.append(units, CISOEncoding::Encode(code, units));
    }

    void AppendOctal() {
        char32_t code = 0;
        for (int digits = 0; digits < 3 && !AtEnd() && IsOctalDigit(*m_cursor); ++digits)
            code = code * 8 + static_cast<char32_t>(*m_cursor++ - '0');
        AppendCode(code);
    }

    /// AppendHex takes exactly `digits` bytes; if one is no digit, nothing is added. With fewer
    /// left the whole string is given up as an empty one that counts as read.
    void AppendHex(std::size_t digits) {
        if (Remaining() < digits) {
            m_cursor = m_end;
            m_cutEscape = true;
            return;
        }
        char32_t code = 0;
        bool valid = true;
        for (; digits > 0; --digits) {
            const int nibble = HexValue(*m_cursor++);
            valid = valid && nibble >= 0;
            code = code << 4 | static_cast<char32_t>(nibble & 0xF);
        }
        if (valid)
            AppendCode(code);
    }

    const char* m_cursor;
    const char* const m_end;
    std::string m_scratch;
    bool m_tooDeep = false;
    bool m_cutEscape = false;
};

}  // namespace

CJSValueOwner ParseJSValue(const char*& cursor, const char* end) noexcept {
    try {
        CParser parser(cursor, end);
        CJSValueOwner value = parser.Root();
        cursor = parser.Cursor();
        return value;
    } catch (const std::exception&) {
        cursor = end;
        return CJSValue::UndefinedOwner();
    }
}

// NOLINTEND(clang-analyzer-cplusplus.NewDeleteLeaks)

}  // namespace tarnwell
