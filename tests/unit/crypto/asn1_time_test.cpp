#include "common/crypto/asn1_time.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>

#include "common/system/os/unique.h"

namespace tarnwell {
namespace {

using CUniqueTime = CUnique<CPointerTraits<ASN1_STRING, ASN1_STRING_free>>;

/// A time whose octets are anything, as a file can have them.
CUniqueTime Time(int type, const std::string& text) {
    CUniqueTime time(ASN1_STRING_type_new(type));
    ASN1_STRING_set(time.Get(), text.data(), static_cast<int>(text.size()));
    return time;
}
constexpr int kUtc = V_ASN1_UTCTIME;
constexpr int kGeneral = V_ASN1_GENERALIZEDTIME;

TEST(Asn1TimeToTime, CountsSecondsSince1970) {
    const struct {
        int type;
        const char* text;
        std::int64_t seconds;
    } rows[] = {
        {kUtc, "700101000000Z", 0},
        {kUtc, "700101000000-0001", 60},
        {kUtc, "240229120000Z", 1709208000},
        {kUtc, "2402291200Z", 1709208000},
        {kUtc, "240229130000+0100", 1709208000},
        {kUtc, "240229000000-1200", 1709208000},
        {kUtc, "240230000000Z", 1709251200},  // the day is not held against the month
        {kUtc, "000101000000Z", 946684800},
        {kUtc, "380119031408Z", 2147483648},
        {kUtc, "381231235959Z", 2177452799},
        {kUtc, "691231235959Z", -1},
        {kUtc, "680229000000Z", -58060800},
        {kUtc, "500101000000Z", -631152000},
        {kGeneral, "20240229120000Z", 1709208000},
        {kGeneral, "20240229120000.123,4Z", 1709208000},
        {kGeneral, "20240229130000+0100", 1709208000},
        {kGeneral, "19020101000000Z", -2145916800},
    };
    for (const auto& row : rows) {
        int status = -1;
        EXPECT_EQ(Asn1TimeToTime(Time(row.type, row.text).Get(), &status), row.seconds) << row.text;
        EXPECT_EQ(status, kTimeConverted) << row.text;
    }
}

TEST(Asn1TimeToTime, YearsThatLeave32BitsAreOutOfRange) {
    const struct {
        int type;
        const char* text;
    } rows[] = {
        {kUtc, "390101000000Z"},       {kUtc, "491231235959Z"},       {kGeneral, "20500101000000Z"},
        {kGeneral, "21010101000000Z"}, {kGeneral, "19010101000000Z"}, {kUtc, "700101000000+0001"},
        {kUtc, "691231235959-0001"},
    };
    for (const auto& row : rows) {
        int status = -1;
        EXPECT_EQ(Asn1TimeToTime(Time(row.type, row.text).Get(), &status), 0) << row.text;
        EXPECT_EQ(status, kTimeOutOfRange) << row.text;
    }
}

// The suite's other programs count so too, and must show the same time for the same file.
TEST(Asn1TimeToTime, FarYearsWrapLikeA32BitNumber) {
    EXPECT_EQ(Asn1TimeToTime(Time(kGeneral, "21070101000000Z").Get(), nullptr), 28315904);
    EXPECT_EQ(Asn1TimeToTime(Time(kGeneral, "18000101000000Z").Get(), nullptr), -1069695104);
}

TEST(Asn1TimeToTime, IllFormedTimesHaveStatusOneAndNoSeconds) {
    const struct {
        int type;
        std::string text;
    } rows[] = {
        {kUtc, ""},
        {kUtc, "24"},
        {kUtc, "240229"},
        {kUtc, "24022912000"},
        {kUtc, "240229120000"},
        {kUtc, "240229120000z"},
        {kUtc, "240229120000ZZ"},
        {kUtc, std::string("240229120000Z\0", 14)},
        {kUtc, std::string("24022912\0000Z", 11)},
        {kUtc, "240229120000+01"},
        {kUtc, "240229120000+1300"},
        {kUtc, "240229120000+0160"},
        {kUtc, "240229120000.5Z"},
        {kUtc, "241329120000Z"},
        {kUtc, "240029120000Z"},
        {kUtc, "240232120000Z"},
        {kUtc, "240200120000Z"},
        {kUtc, "240229240000Z"},
        {kUtc, "240229126000Z"},
        {kUtc, "240229120060Z"},
        {kUtc, "240229 20000Z"},
        {kUtc, "-40229120000Z"},
        {kGeneral, "2024"},
        {kGeneral, "20240229120000X"},
        {V_ASN1_OCTET_STRING, "240229120000Z"},
    };
    for (const auto& row : rows) {
        int status = -1;
        EXPECT_EQ(Asn1TimeToTime(Time(row.type, row.text).Get(), &status), 0) << row.text;
        EXPECT_EQ(status, kTimeIllFormed) << row.text;
        EXPECT_EQ(Asn1TimeToIso(Time(row.type, row.text).Get()), "") << row.text;
    }
    EXPECT_EQ(Asn1TimeToTime(nullptr, nullptr), 0);
}

TEST(Asn1TimeToTime, ATimeWithoutZoneIsLocal) {
    std::tm fields = {};
    fields.tm_year = 124;
    fields.tm_mon = 6;
    fields.tm_mday = 15;
    fields.tm_hour = 12;
    fields.tm_isdst = -1;
    int status = -1;
    EXPECT_EQ(Asn1TimeToTime(Time(kGeneral, "20240715120000.25").Get(), &status),
              std::mktime(&fields));
    EXPECT_EQ(status, kTimeConverted);
}

TEST(Asn1TimeToIso, WritesAnyDayOfTheCalendarInUtc) {
    const struct {
        int type;
        const char* text;
        const char* iso;
    } rows[] = {
        {kUtc, "491231235959Z", "2049-12-31T23:59:59Z"},
        {kUtc, "500101000000Z", "1950-01-01T00:00:00Z"},
        {kUtc, "240101030405+0530", "2023-12-31T21:34:05Z"},
        {kUtc, "491231235959-0100", "2050-01-01T00:59:59Z"},
        {kUtc, "2401020304Z", "2024-01-02T03:04:00Z"},
        {kGeneral, "16001231235959Z", "1600-12-31T23:59:59Z"},
        {kGeneral, "99991231235959Z", "9999-12-31T23:59:59Z"},
        {kGeneral, "99991231235959-0001", ""},
        {kGeneral, "00000101000000+0001", ""},
        {kGeneral, "20240101000000", ""},
        {kUtc, "230229000000Z", ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Asn1TimeToIso(Time(row.type, row.text).Get()), row.iso) << row.text;
}

}  // namespace
}  // namespace tarnwell
