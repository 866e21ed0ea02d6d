#include "common/crypto/asn1_time.h"

#include <gtest/gtest.h>

#include <ctime>

#include "common/crypto/openssl_owners.h"
#include "common/crypto/time_text.h"

namespace tarnwell {
namespace {

using namespace std::string_literals;
using CUniqueTime = CUnique<CPointerTraits<ASN1_STRING, ASN1_STRING_free>>;

constexpr int kUtc = V_ASN1_UTCTIME;
constexpr int kGen = V_ASN1_GENERALIZEDTIME;
constexpr int kOk = kTimeConverted;
constexpr int kOut = kTimeOutOfRange;

/// A time whose octets are anything, as a file can have them.
CUniqueTime Time(int type, const std::string& text) {
    CUniqueTime time(ASN1_STRING_type_new(type));
    ASN1_STRING_set(time.Get(), text.data(), static_cast<int>(text.size()));
    return time;
}

// The true seconds and the texts in UTC were computed with Python's datetime (years 0 and 1 with
// it 400 years on). The seconds of whole years are a 32-bit number: far years come out by a
// multiple of 2^32 off, and where that has the wrong sign for the year, they are out of range.
TEST(Asn1Time, BecomesSecondsAndATextInUtc) {
    const struct {
        int type;
        std::string text;
        int status;
        std::int64_t truth;
        int wraps;
        const char* iso;
    } rows[] = {
        {kUtc, "700101000000Z", kOk, 0, 0, "1970-01-01T00:00:00Z"},
        {kUtc, "691231235959Z", kOk, -1, 0, "1969-12-31T23:59:59Z"},
        {kUtc, "500101000000Z", kOk, -631152000, 0, "1950-01-01T00:00:00Z"},
        {kUtc, "000229120000Z", kOk, 951825600, 0, "2000-02-29T12:00:00Z"},
        {kUtc, "000301000000Z", kOk, 951868800, 0, "2000-03-01T00:00:00Z"},
        {kUtc, "241231235959Z", kOk, 1735689599, 0, "2024-12-31T23:59:59Z"},
        {kUtc, "2402291200Z", kOk, 1709208000, 0, "2024-02-29T12:00:00Z"},
        {kUtc, "240229173000+0530", kOk, 1709208000, 0, "2024-02-29T12:00:00Z"},
        {kUtc, "240229120000-1259", kOk, 1709254740, 0, "2024-03-01T00:59:00Z"},
        {kUtc, "240230000000Z", kOk, 1709251200, 0, ""},  // no such day: the 1st
        {kUtc, "380119031408Z", kOk, 2147483648, 0, "2038-01-19T03:14:08Z"},  // over 31 bits
        {kUtc, "381231235959Z", kOk, 2177452799, 0, "2038-12-31T23:59:59Z"},
        {kUtc, "390101000000Z", kOut, 2177452800, 1, "2039-01-01T00:00:00Z"},
        {kUtc, "491231235959-0100", kOut, 2524611599, 1, "2050-01-01T00:59:59Z"},
        {kUtc, "691231235959-0001", kOut, 59, 0, "1970-01-01T00:00:59Z"},
        {kUtc, "700101000000+0001", kOut, -60, 0, "1969-12-31T23:59:00Z"},
        {kGen, "20240229120000.1,4Z", kOk, 1709208000, 0, "2024-02-29T12:00:00Z"},
        {kGen, "202402291200.5Z", kOk, 1709208000, 0, "2024-02-29T12:00:00Z"},
        {kGen, "19020101000000Z", kOk, -2145916800, 0, "1902-01-01T00:00:00Z"},
        {kGen, "19011231235959Z", kOut, -2145916801, -1, "1901-12-31T23:59:59Z"},
        {kGen, "18000101000000Z", kOk, -5364662400, -1, "1800-01-01T00:00:00Z"},
        {kGen, "00000229000000Z", kOk, -62162121600, -14, "0000-02-29T00:00:00Z"},
        {kGen, "00000101000000+0001", kOk, -62167219260, -14, ""},
        {kGen, "21070101000000Z", kOk, 4323283200, 1, "2107-01-01T00:00:00Z"},
        {kGen, "99991231235959Z", kOut, 253402300799, 59, "9999-12-31T23:59:59Z"},
        {kGen, "99991231235959-0001", kOut, 253402300859, 59, ""},
    };
    for (const auto& row : rows) {
        int status = -1;
        const CUniqueTime time = Time(row.type, row.text);
        const std::int64_t seconds = Asn1TimeToTime(time.Get(), &status);
        EXPECT_EQ(status, row.status) << row.text;
        EXPECT_EQ(seconds, status == 0 ? row.truth - row.wraps * (std::int64_t{1} << 32) : 0)
            << row.text;
        EXPECT_EQ(Asn1TimeToIso(time.Get()), row.iso) << row.text;
        EXPECT_EQ(TimeToText(time.Get()),
                  status == kTimeConverted ? LocalTimeText(seconds) : CISOString())
            << row.text;
    }
    EXPECT_NE(LocalTimeText(1709208000).Find("24"), CISOString::npos);
}

TEST(Asn1Time, IsNothingWhereItIsIllFormed) {
    const struct {
        int type;
        std::vector<std::string> texts;
    } rows[] = {
        {kUtc, {"", "2402291200", "240229120000Z\0"s, "240229120000ZZ", "240229120000.5Z"}},
        {kUtc, {"240229120000+010", "240229120000+01000", "240229120000+1300"}},
        {kUtc, {"240229120000-0060", "2402291200+-100", "-40229120000Z", "20240229120000Z"}},
        {kUtc, {"240029120000Z", "241329120000Z", "240200120000Z", "240232120000Z"}},
        {kUtc, {"240229240000Z", "240229126000Z", "240229120060Z", "24022912006Z"}},
        {kGen, {"240229120000Z", "202402291200.5Z.", "20240229120000,+", "2024022912Z"}},
        {V_ASN1_OCTET_STRING, {"240229120000Z"}},
    };
    for (const auto& row : rows) {
        for (const std::string& text : row.texts) {
            int status = -1;
            const CUniqueTime time = Time(row.type, text);
            EXPECT_EQ(Asn1TimeToTime(time.Get(), &status), 0) << text;
            EXPECT_EQ(status, kTimeIllFormed) << text;
            EXPECT_EQ(Asn1TimeToIso(time.Get()), "") << text;
            EXPECT_EQ(TimeToText(time.Get()), "") << text;
        }
    }
    EXPECT_FALSE(ReadAsn1Time(nullptr));
    EXPECT_FALSE(ReadAsn1Time(CUniqueTime(ASN1_STRING_type_new(kUtc)).Get()));
}

TEST(Asn1Time, WithoutAZoneIsLocal) {
    for (const int month : {1, 7}) {  // one of them in summer, wherever that is
        std::tm fields = {};
        fields.tm_year = 124;
        fields.tm_mon = month - 1;
        fields.tm_mday = 15;
        fields.tm_isdst = -1;
        const CUniqueTime time = Time(kGen, "20240" + std::to_string(month) + "15000000.25");
        EXPECT_EQ(Asn1TimeToTime(time.Get(), nullptr), std::mktime(&fields));
        EXPECT_EQ(Asn1TimeToIso(time.Get()), "");
    }
}

}  // namespace
}  // namespace tarnwell
