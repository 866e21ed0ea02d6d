#include "common/crypto/time_text.h"

#include <clocale>
#include <ctime>
#include <cwchar>
#include <iterator>
#include <string>

#include "common/system/os/unique.h"
#include "common/system/text/convert.h"

namespace tarnwell {

namespace {

struct LocaleTraits {
    using Value = locale_t;
    static Value Invalid() noexcept { return nullptr; }
    static void Close(Value value) noexcept { freelocale(value); }
};

}  // namespace

CISOString LocalTimeText(std::int64_t seconds, const char* locale) {
    // The types of characters too: the names of days and months are decoded by them.
    const CUnique<LocaleTraits> spelling(newlocale(LC_TIME_MASK | LC_CTYPE_MASK, locale, nullptr));
    std::tm fields = {};
    const std::time_t moment = seconds;
    if (!spelling || !localtime_r(&moment, &fields))
        return CISOString();
    wchar_t text[80];
    const std::size_t length = wcsftime_l(text, std::size(text), L"%c", &fields, spelling.Get());
    const std::u32string wide(text, text + length);
    return Utf8FromUtf32(wide);
}

}  // namespace tarnwell
