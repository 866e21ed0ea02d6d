#include "trace_format.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace tarnwell::zellog {
namespace {

constexpr std::size_t kMostUnits = kTraceTextSize;

/// Where the bounded format is put together; it notices that the room is too small.
class CBounded {
public:
    CBounded(char* bytes, std::size_t size) noexcept : m_bytes(bytes), m_left(size) {}

    void Add(char byte) noexcept {
        if (m_left > 0) {
            *m_bytes++ = byte;
            --m_left;
        } else {
            m_fits = false;
        }
    }
    void Add(std::size_t number) noexcept {
        char digits[24];
        const int length = std::snprintf(digits, sizeof digits, "%zu", number);
        for (int i = 0; i < length; ++i)
            Add(digits[i]);
    }
    bool Fits() const noexcept { return m_fits; }

private:
    char* m_bytes;
    std::size_t m_left;
    bool m_fits = true;
};

bool IsDigit(char byte) noexcept {
    return byte >= '0' && byte <= '9';
}

/// Number reads digits, however many, and holds the value to what a text can show.
std::size_t Number(const char*& format) noexcept {
    std::size_t value = 0;
    for (; IsDigit(*format); ++format)
        value = std::min(value * 10 + static_cast<std::size_t>(*format - '0'), kMostUnits);
    return value;
}

bool IsOneOf(char byte, std::string_view set) noexcept {
    return byte != '\0' && set.find(byte) != std::string_view::npos;
}

/// Conversion takes over what stands behind a "%"; false if it cannot be bounded.
bool Conversion(const char*& format, CBounded& bounded) noexcept {
    while (IsOneOf(*format, "-+ #0"))
        bounded.Add(*format++);
    if (IsDigit(*format))
        bounded.Add(Number(format));
    bool isPrecise = false;
    if (*format == '.') {
        ++format;
        bounded.Add('.');
        bounded.Add(Number(format));
        isPrecise = true;
    }
    // Lengths of the standard and of Windows ("I64"); their digits stand behind the "I" only.
    char length[4];
    std::size_t lengths = 0;
    for (; IsOneOf(*format, "hljztLI") || (lengths > 0 && length[0] == 'I' && IsDigit(*format));
         ++format) {
        if (lengths == sizeof length)
            return false;
        length[lengths++] = *format;
    }
    if (!IsOneOf(*format, "diouxXeEfFgGaAcCsSp%"))
        return false;
    if (!isPrecise && IsOneOf(*format, "sS")) {
        bounded.Add('.');
        bounded.Add(kMostUnits);
    }
    for (std::size_t i = 0; i < lengths; ++i)
        bounded.Add(length[i]);
    bounded.Add(*format++);
    return true;
}

}  // namespace

bool BoundFormat(const char* format, char* bounded, std::size_t size) noexcept {
    CBounded out(bounded, size);
    while (*format != '\0' && out.Fits()) {
        const char byte = *format++;
        out.Add(byte);
        if (byte == '%' && !Conversion(format, out))
            return false;
    }
    out.Add('\0');
    return out.Fits();
}

void FormatTrace(char (&text)[kTraceTextSize], const char* format,
                 std::va_list arguments) noexcept {
    char bounded[kTraceTextSize];
    // The format is no literal, but BoundFormat has left nothing in it that could do harm.
    if (BoundFormat(format, bounded, sizeof bounded) &&
        std::vsnprintf(text, sizeof text, bounded, arguments) >= 0)
        return;
    std::size_t length = 0;
    while (length + 1 < sizeof text && format[length] != '\0')
        ++length;
    std::memcpy(text, format, length);
    text[length] = '\0';
}

}  // namespace tarnwell::zellog
