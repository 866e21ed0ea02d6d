#include "common/crypto/time_text.h"

#include <ctime>
#include <cwchar>
#include <string_view>

#include "common/system/os/unique.h"
#include "common/system/text/convert.h"
// Windows last.
#include <locale.h>

namespace tarnwell {

namespace {

struct LocaleTraits {
    using Value = _locale_t;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { _free_locale(value); }
};

}  // namespace

CISOString LocalTimeText(std::int64_t seconds, const char* locale) {
    const CUnique<LocaleTraits> spelling(_create_locale(LC_TIME, locale));
    std::tm fields = {};
    const __time64_t moment = seconds;
    // A moment before 1970 is refused here: to this library it does not exist.
    if (!spelling || _localtime64_s(&fields, &moment) != 0)
        return CISOString();
    // Wide units, since the 8-bit text would be in the code page of the locale.
    wchar_t text[80];
    const std::size_t length = _wcsftime_l(text, std::size(text), L"%c", &fields, spelling.Get());
    return Utf8FromUtf16({reinterpret_cast<const char16_t*>(text), length});
}

}  // namespace tarnwell
