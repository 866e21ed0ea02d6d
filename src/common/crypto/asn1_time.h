#pragma once

// Times as certificates and signatures carry them (UTCTime and GeneralizedTime, X.680), turned
// into numbers. The octets may come from anybody: nothing is read beyond the stated length. Pure,
// but for the local time zone; any thread may call.

#include <cstdint>
#include <optional>

#include <openssl/asn1.h>

#include "common/system/text/string.h"

namespace tarnwell {

/// The parts of a time as it is written, each within its bounds; the day is not checked against
/// the month.
struct Asn1TimeParts {
    int year = 0;  ///< 1950 to 2049 for a UTCTime, 0 to 9999 for a GeneralizedTime
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;            ///< 0 where it is not written
    int offset = 0;            ///< minutes east of UTC
    bool isLocalTime = false;  ///< a GeneralizedTime without "Z" or an offset
};

/// ReadAsn1Time takes the written parts; nothing for another type or anything ill-formed.
std::optional<Asn1TimeParts> ReadAsn1Time(const ASN1_TIME* time);

/// How Asn1TimeToTime ended.
inline constexpr int kTimeConverted = 0;
inline constexpr int kTimeIllFormed = 1;
inline constexpr int kTimeOutOfRange = 2;

/// Asn1TimeToTime gives seconds since 1970-01-01 UTC, 0 unless `status` (which may be null) ends
/// as kTimeConverted. The seconds of whole years are a 32-bit number that wraps, as in every other
/// program of the suite: of the years that a UTCTime reaches, 2039 to 2049 are out of range.
std::int64_t Asn1TimeToTime(const ASN1_TIME* time, int* status);

/// Asn1TimeToIso gives the time in UTC as "2026-01-02T03:04:05Z" (RFC 3339) over the whole range
/// of years 0 to 9999; "" for what is ill-formed, is no day of the calendar or is local time.
CISOString Asn1TimeToIso(const ASN1_TIME* time);

}  // namespace tarnwell
