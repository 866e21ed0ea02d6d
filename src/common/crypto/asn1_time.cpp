#include "common/crypto/asn1_time.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <string_view>

namespace tarnwell {

namespace {

constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kYear = 365 * kDay;

constexpr bool IsDigit(char unit) noexcept {
    return unit >= '0' && unit <= '9';
}

/// Takes fields off the front of a text.
class CFieldReader {
public:
    explicit CFieldReader(std::string_view text) noexcept : m_rest(text) {}

    /// Take reads exactly `digits` digits as a number from `least` to `most`.
    bool Take(std::size_t digits, int least, int most, int& value) noexcept {
        if (m_rest.size() < digits)
            return false;
        value = 0;
        for (const char digit : m_rest.substr(0, digits)) {
            if (!IsDigit(digit))
                return false;
            value = value * 10 + (digit - '0');
        }
        m_rest.remove_prefix(digits);
        return value >= least && value <= most;
    }

    bool TakeUnit(char unit) noexcept {
        if (!m_rest.starts_with(unit))
            return false;
        m_rest.remove_prefix(1);
        return true;
    }

    void SkipFraction() noexcept {
        while (!AtEnd() && (IsDigit(m_rest[0]) || m_rest[0] == '.' || m_rest[0] == ','))
            m_rest.remove_prefix(1);
    }

    bool AtDigit() const noexcept { return !AtEnd() && IsDigit(m_rest[0]); }
    bool AtEnd() const noexcept { return m_rest.empty(); }

private:
    std::string_view m_rest;
};

bool ReadYear(CFieldReader& reader, bool isUtcTime, int& year) noexcept {
    if (!isUtcTime)
        return reader.Take(4, 0, 9999, year);
    if (!reader.Take(2, 0, 99, year))
        return false;
    year += year < 50 ? 2000 : 1900;
    return true;
}

bool ReadOffset(CFieldReader& reader, int& offset) noexcept {
    if (reader.TakeUnit('Z'))
        return reader.AtEnd();
    const bool west = reader.TakeUnit('-');
    int hours = 0;
    int minutes = 0;
    if (!(west || reader.TakeUnit('+')) || !reader.Take(2, 0, 12, hours) ||
        !reader.Take(2, 0, 59, minutes) || !reader.AtEnd())
        return false;
    offset = (hours * 60 + minutes) * (west ? -1 : 1);
    return true;
}

constexpr bool IsLeap(int year) noexcept {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

constexpr int DaysBefore(int month, int year) noexcept {
    constexpr int kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    int days = month > 2 && IsLeap(year) ? 1 : 0;
    for (int earlier = 1; earlier < month; ++earlier)
        days += kLengths[earlier - 1];
    return days;
}

/// Leap days between the start of 1970 and the start of `year`, negative before 1970.
constexpr int LeapDays(int year) noexcept {
    int days = year >= 1970 ? (year - 1969) / 4 : -((1972 - year) / 4);
    for (int century = 2100; century < year; century += 100)
        days -= century % 400 != 0 ? 1 : 0;
    for (int century = 1900; century >= year; century -= 100)
        days += century % 400 != 0 ? 1 : 0;
    return days;
}

std::int64_t LocalToTime(const Asn1TimeParts& parts, int& status) noexcept {
    std::tm fields = {};
    fields.tm_year = parts.year - 1900;
    fields.tm_mon = parts.month - 1;
    fields.tm_mday = parts.day;
    fields.tm_hour = parts.hour;
    fields.tm_min = parts.minute;
    fields.tm_sec = parts.second;
    fields.tm_isdst = -1;  // the library knows whether it is summer
    const std::time_t result = std::mktime(&fields);
    status = result == -1 ? kTimeOutOfRange : kTimeConverted;
    return status == kTimeConverted ? result : 0;
}

/// The conversion, with its status in `result`.
std::int64_t Converted(const ASN1_TIME* time, int& result) {
    const std::optional<Asn1TimeParts> parts = ReadAsn1Time(time);
    if (!parts) {
        result = kTimeIllFormed;
        return 0;
    }
    if (parts->isLocalTime)
        return LocalToTime(*parts, result);

    // The year's seconds wrap like a 32-bit integer: 2039 to 2049 come out negative.
    const auto wholeYears = static_cast<std::int32_t>((parts->year - 1970) * kYear);
    const std::int64_t seconds = (parts->minute - parts->offset) * kMinute +
                                 (parts->day - 1) * kDay + parts->hour * kHour + parts->second +
                                 DaysBefore(parts->month, parts->year) * kDay + wholeYears +
                                 LeapDays(parts->year) * kDay;
    const bool isInRange = parts->year >= 1970 ? seconds >= 0 : seconds < 0;
    result = isInRange ? kTimeConverted : kTimeOutOfRange;
    return isInRange ? seconds : 0;
}

}  // namespace

std::optional<Asn1TimeParts> ReadAsn1Time(const ASN1_TIME* time) {
    if (!time)
        return std::nullopt;
    const int type = ASN1_STRING_type(time);
    const auto* data = reinterpret_cast<const char*>(ASN1_STRING_get0_data(time));
    const int length = ASN1_STRING_length(time);
    const bool isUtcTime = type == V_ASN1_UTCTIME;
    if ((!isUtcTime && type != V_ASN1_GENERALIZEDTIME) || !data || length < 0 ||
        data[length] != '\0')
        return std::nullopt;

    CFieldReader reader({data, static_cast<std::size_t>(length)});
    Asn1TimeParts parts;
    if (!ReadYear(reader, isUtcTime, parts.year) || !reader.Take(2, 1, 12, parts.month) ||
        !reader.Take(2, 1, 31, parts.day) || !reader.Take(2, 0, 23, parts.hour) ||
        !reader.Take(2, 0, 59, parts.minute))
        return std::nullopt;
    if (reader.AtDigit() && !reader.Take(2, 0, 59, parts.second))
        return std::nullopt;
    if (!isUtcTime) {
        reader.SkipFraction();
        if (reader.AtEnd()) {
            parts.isLocalTime = true;
            return parts;
        }
    }
    if (!ReadOffset(reader, parts.offset))
        return std::nullopt;
    return parts;
}

std::int64_t Asn1TimeToTime(const ASN1_TIME* time, int* status) {
    int result = kTimeConverted;
    const std::int64_t seconds = Converted(time, result);
    if (status)
        *status = result;
    return seconds;
}

CISOString Asn1TimeToIso(const ASN1_TIME* time) {
    using namespace std::chrono;
    const std::optional<Asn1TimeParts> parts = ReadAsn1Time(time);
    if (!parts || parts->isLocalTime)
        return CISOString();
    const year_month_day day(year(parts->year), month(static_cast<unsigned>(parts->month)),
                             std::chrono::day(static_cast<unsigned>(parts->day)));
    if (!day.ok())
        return CISOString();
    const sys_seconds moment = sys_days(day) + hours(parts->hour) +
                               minutes(parts->minute - parts->offset) + seconds(parts->second);
    const sys_days midnight = floor<days>(moment);
    const year_month_day date(midnight);
    const hh_mm_ss clock(moment - midnight);
    if (date.year() < year(0) || date.year() > year(9999))
        return CISOString();
    char text[32];
    static_cast<void>(std::snprintf(
        text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", int(date.year()),
        unsigned(date.month()), unsigned(date.day()), static_cast<int>(clock.hours().count()),
        static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count())));
    return CISOString(text);
}

}  // namespace tarnwell
