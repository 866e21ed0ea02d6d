#include "common/crypto/time_text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <ctime>
#include <string>

#include "common/system/os/windows.h"
#include "common/system/text/convert.h"

namespace tarnwell {
namespace {

constexpr std::time_t kMorning = 1720069999;  // 2024-07-04 05:13:19 UTC
constexpr std::time_t kNoon = 1709208000;     // 2024-02-29 12:00:00 UTC

/// What the runtime library writes in the locale of the process, decoded.
CISOString RuntimeText(std::time_t moment, unsigned codePage) {
    char text[80] = {};
    wchar_t wide[80] = {};
    EXPECT_NE(std::strftime(text, sizeof text, "%c", std::localtime(&moment)), 0u);
    MultiByteToWideChar(codePage, 0, text, -1, wide, static_cast<int>(std::size(wide)));
    return Utf8FromUtf16(Units(wide));
}

TEST(LocalTimeText, IsTheRuntimeLibrarysInEveryCodePage) {
    const struct {
        const char* name;
        const char* runtimeName;
        unsigned codePage;
    } rows[] = {
        {"", "", 1252},  // the tests' user is American
        {"fr-FR", "French_France.1252", 1252},
        {"pl-PL", "Polish_Poland.1250", 1250},
        {"el-GR", "Greek_Greece.1253", 1253},  // names morning and afternoon in Greek
        {"ar-SA", "Arabic_Saudi Arabia.1256", 1256},
        {"zh-TW", "Chinese_Taiwan.950", 950},
    };
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const auto& row : rows) {
        ASSERT_TRUE(std::setlocale(LC_TIME, row.runtimeName)) << row.name;
        for (const std::time_t moment : {kMorning, kNoon})
            EXPECT_EQ(LocalTimeText(moment, row.name), RuntimeText(moment, row.codePage));
    }
    ASSERT_TRUE(std::setlocale(LC_ALL, before.c_str()));
    EXPECT_EQ(LocalTimeText(kNoon), LocalTimeText(kNoon, "en-US"));
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
}

TEST(LocalTimeText, IsEmptyForWhatTheLibraryCannotBreakDown) {
    for (const std::int64_t seconds : {std::int64_t{-1} << 31, INT64_MIN, INT64_MAX})
        EXPECT_EQ(LocalTimeText(seconds), "") << seconds;
    EXPECT_EQ(LocalTimeText(kNoon, "no such locale"), "");
}

TEST(LocalTimeText, IsEmptyWhereTheUsersSpellingLeavesNoRoom) {
    const std::size_t clock = LocalTimeText(kNoon, "en-US").Length() - 9;  // behind "2/29/2024"
    wchar_t before[80] = {};
    GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SSHORTDATE, before, 80);
    const auto spell = [](const wchar_t* format) {
        SetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_SSHORTDATE, format);
    };
    // A day of the week is "Thursday"; the rest stands as it is.
    const std::wstring days = L"dddd.dddd.dddd.dddd.dddd.dddd.dddd";
    constexpr std::size_t kDays = 7 * 8 + 6;
    for (const std::size_t length : {kDays, 79 - clock, 80 - clock, std::size_t{78},
                                     std::size_t{79}, std::size_t{80}, std::size_t{81}}) {
        spell((days + std::wstring(length - kDays, L'-')).c_str());
        const std::size_t whole = length + clock;
        EXPECT_EQ(LocalTimeText(kNoon).Length(), whole < 80 ? whole : 0) << length;
    }
    spell(before);
}

}  // namespace
}  // namespace tarnwell
