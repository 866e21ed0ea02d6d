#include "tarnwell/core/icon_model.h"

#include <algorithm>
#include <limits>

namespace tarnwell {
namespace {

constexpr std::u16string_view kWrapping = u" \t\"";

std::u16string_view Unwrapped(std::u16string_view text) noexcept {
    const std::size_t first = text.find_first_not_of(kWrapping);
    if (first == text.npos)
        return {};
    return text.substr(first, text.find_last_not_of(kWrapping) + 1 - first);
}

/// The number at the start of `text`. Its negative always fits, too.
std::int32_t NumberAt(std::u16string_view text) noexcept {
    const bool isNegative = text.starts_with(u'-');
    if (isNegative || text.starts_with(u'+'))
        text.remove_prefix(1);
    constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();
    std::int64_t value = 0;
    for (const char16_t unit : text) {
        if (unit < u'0' || unit > u'9')
            break;
        value = std::min(10 * value + (unit - u'0'), kMax);
    }
    return static_cast<std::int32_t>(isNegative ? -value : value);
}

}  // namespace

std::u16string_view EnclosedExtension(std::u16string_view path) noexcept {
    const std::u16string_view name = path.substr(0, path.rfind(u'.'));
    const std::size_t dot = name.rfind(u'.');
    return dot == name.npos ? name : name.substr(dot + 1);
}

IconLocation ParseIconLocation(std::u16string_view text) noexcept {
    const std::size_t comma = text.rfind(u',');
    if (comma == text.npos)
        return {Unwrapped(text), 0};
    return {Unwrapped(text.substr(0, comma)), NumberAt(Unwrapped(text.substr(comma + 1)))};
}

}  // namespace tarnwell
