#include "common/crypto/time_text.h"

#include <ctime>
#include <iterator>

#include "common/system/os/windows.h"
#include "common/system/text/convert.h"

namespace tarnwell {

namespace {

WORD Word(int field) noexcept {
    return static_cast<WORD>(field);
}

}  // namespace

// "%c" of this runtime library is the locale's short date, a blank and its time of day. Asking
// Windows for the two gives that text without setlocale, which would be the whole explorer's (this
// library has no locale of a thread), and without the locale's 8-bit code page in between.
CISOString LocalTimeText(std::int64_t seconds, const char* locale) {
    std::tm fields = {};
    const __time64_t moment = seconds;
    if (_localtime64_s(&fields, &moment) != 0)  // before 1970, or after 3000
        return CISOString();
    const SYSTEMTIME when = {.wYear = Word(fields.tm_year + 1900),
                             .wMonth = Word(fields.tm_mon + 1),
                             .wDayOfWeek = Word(fields.tm_wday),
                             .wDay = Word(fields.tm_mday),
                             .wHour = Word(fields.tm_hour),
                             .wMinute = Word(fields.tm_min),
                             .wSecond = Word(fields.tm_sec),
                             .wMilliseconds = 0};
    const CUTF16String name = Utf16FromUtf8(locale);
    const wchar_t* place = name.IsEmpty() ? LOCALE_NAME_USER_DEFAULT : Wide(name);

    wchar_t text[80];
    constexpr int kRoom = std::size(text);
    // Both lengths count the terminating zero.
    const int date = GetDateFormatEx(place, 0, &when, nullptr, text, kRoom, nullptr);
    if (date <= 0 || date == kRoom)  // without room the next call would only count
        return CISOString();
    const int time = GetTimeFormatEx(place, 0, &when, nullptr, text + date, kRoom - date);
    if (time <= 0)
        return CISOString();
    text[date - 1] = L' ';
    return Utf8FromUtf16({Units(text), static_cast<std::size_t>(date + time - 1)});
}

}  // namespace tarnwell
