#include <gtest/gtest.h>

#include <ctime>

#include "common/crypto/asn1_time.h"
#include "common/crypto/certificate_label.h"
#include "common/crypto/pkcs7_error.h"
#include "test_signer.h"

namespace tarnwell {
namespace {

using namespace std::string_literals;
using CUniqueTime = CUnique<CPointerTraits<ASN1_STRING, ASN1_STRING_free>>;
using CUniqueName = CUnique<CPointerTraits<X509_NAME, X509_NAME_free>>;

/// A time whose octets are anything, as a file can have them.
CUniqueTime Time(int type, const std::string& text) {
    CUniqueTime time(ASN1_STRING_type_new(type));
    ASN1_STRING_set(time.Get(), text.data(), static_cast<int>(text.size()));
    return time;
}

TEST(Asn1Time, BecomesSecondsAndATextInUtc) {
    constexpr int kUtc = V_ASN1_UTCTIME;
    constexpr int kGeneral = V_ASN1_GENERALIZEDTIME;
    const struct {
        int type;
        std::string text;
        int status;
        std::int64_t seconds;
        const char* iso;
    } rows[] = {
        {kUtc, "2402291200Z", kTimeConverted, 1709208000, "2024-02-29T12:00:00Z"},
        {kUtc, "240229173000+0530", kTimeConverted, 1709208000, "2024-02-29T12:00:00Z"},
        {kUtc, "240230000000Z", kTimeConverted, 1709251200, ""},  // no such day: the next month's
        {kUtc, "381231235959Z", kTimeConverted, 2177452799, "2038-12-31T23:59:59Z"},
        {kUtc, "500101000000Z", kTimeConverted, -631152000, "1950-01-01T00:00:00Z"},
        {kGeneral, "20240229120000.1,4Z", kTimeConverted, 1709208000, "2024-02-29T12:00:00Z"},
        {kUtc, "491231235959-0100", kTimeOutOfRange, 0, "2050-01-01T00:59:59Z"},
        {kUtc, "691231235959-0001", kTimeOutOfRange, 0, "1970-01-01T00:00:59Z"},
        // Far years wrap like a 32-bit number, as in the suite's other programs.
        {kGeneral, "21070101000000Z", kTimeConverted, 28315904, "2107-01-01T00:00:00Z"},
        {kGeneral, "18000101000000Z", kTimeConverted, -1069695104, "1800-01-01T00:00:00Z"},
        {kGeneral, "99991231235959-0001", kTimeOutOfRange, 0, ""},
        {kUtc, "", kTimeIllFormed, 0, ""},
        {kUtc, "240229120000", kTimeIllFormed, 0, ""},
        {kUtc, "240229120000Z\0"s, kTimeIllFormed, 0, ""},
        {kUtc, "240229120000+1300", kTimeIllFormed, 0, ""},
        {kUtc, "240229120000.5Z", kTimeIllFormed, 0, ""},
        {kUtc, "240029120000Z", kTimeIllFormed, 0, ""},
        {kUtc, "-40229120000Z", kTimeIllFormed, 0, ""},
        {V_ASN1_OCTET_STRING, "240229120000Z", kTimeIllFormed, 0, ""},
    };
    for (const auto& row : rows) {
        int status = -1;
        EXPECT_EQ(Asn1TimeToTime(Time(row.type, row.text).Get(), &status), row.seconds) << row.text;
        EXPECT_EQ(status, row.status) << row.text;
        EXPECT_EQ(Asn1TimeToIso(Time(row.type, row.text).Get()), row.iso) << row.text;
    }
    EXPECT_FALSE(ReadAsn1Time(nullptr));
}

TEST(Asn1Time, WithoutAZoneIsLocal) {
    std::tm fields = {};
    fields.tm_year = 124;
    fields.tm_mday = 15;
    fields.tm_isdst = -1;
    const CUniqueTime time = Time(V_ASN1_GENERALIZEDTIME, "20240115000000.25");
    EXPECT_EQ(Asn1TimeToTime(time.Get(), nullptr), std::mktime(&fields));
    EXPECT_EQ(Asn1TimeToIso(time.Get()), "");
}

TEST(GetNameLabel, TakesTheBestPartOfTheNameAsUtf8) {
    const struct {
        std::vector<std::pair<const char*, std::string>> entries;
        int encoding;
        const char* label;
    } rows[] = {
        {{{"C", "PL"}}, MBSTRING_UTF8, ""},
        {{{"CN", "First"}, {"O", "O"}, {"CN", "Zażółć"}}, MBSTRING_UTF8, "Zażółć"},
        {{{"O", "O"}, {"OU", "Unit"}, {"OU", "Other"}}, MBSTRING_UTF8, "Unit"},
        {{{"emailAddress", "a@example.org"}, {"O", "O"}}, MBSTRING_UTF8, "O"},
        {{{"emailAddress", "a@example.org"}}, MBSTRING_UTF8, "a@example.org"},
        {{{"CN", "Ren\xE9"}}, V_ASN1_T61STRING, "René"},
        {{{"CN", "abc"}}, V_ASN1_BMPSTRING, ""},  // no whole units
        {{{"CN", "\xFF\xFE"}}, V_ASN1_UTF8STRING, ""},
    };
    for (const auto& row : rows) {
        const CUniqueName name(X509_NAME_new());
        for (const auto& [key, text] : row.entries)
            X509_NAME_add_entry_by_txt(name.Get(), key, row.encoding,
                                       reinterpret_cast<const unsigned char*>(text.data()),
                                       static_cast<int>(text.size()), -1, 0);
        EXPECT_EQ(GetNameLabel(name.Get()), row.label) << row.label;
    }
}

TEST(GetCertificateLabel, FillsThePattern) {
    const test::TestSigner signer(test::kEc, "Subject");
    X509* x509 = signer.certificate.Get();
    ASN1_INTEGER_set(X509_get_serialNumber(x509), 1);
    X509_set_issuer_name(x509, CUniqueName(X509_NAME_new()).Get());
    X509_sign(x509, signer.key.Get(), EVP_sha256());
    CUniqueOpenSslBytes der;
    const std::size_t length = static_cast<std::size_t>(i2d_X509(x509, der.Put()));
    const std::span<const unsigned char> bytes(der.Get(), length);
    EXPECT_EQ(GetCertificateLabel("%s (%i), %# %%s a%xb 100%", "", bytes),
              "Subject (?), 020101 %s ab 100");
    EXPECT_EQ(GetCertificateLabel("%s", "no certificate", bytes.subspan(1)), "no certificate");
    EXPECT_EQ(GetCertificateLabel("%s", "no certificate", {}), "no certificate");
}

TEST(ErrorNames, FieldsAreNamedAndJoinedAndTypesHaveNamesToo) {
    const struct {
        std::uint32_t code;
        const char* names;
    } rows[] = {
        {0x0, ""},
        {0x31, "CANNOT_OPEN_FILE,GET_TYPE_FAIL"},
        {0x42, "ERROR_OPENSSL,GET_RECIPIENT_FAIL"},
        {0x113, "ERROR_PK_PARAMS,ERROR_WRITING_FILE,ERROR_SIGN"},
        {0x224, "ERROR_CERT_PARAMS,ERROR_GETTING_FILE,ERROR_ENCRYPT"},
        {0x355, "ERROR_TYPE,GET_SIGNER_FAIL,ERROR_SIGNENCRYPT"},
        {0x402, "ERROR_OPENSSL,ERROR_RECOVER"},
        {0x406, ",ERROR_RECOVER"},  // a value without a name keeps its comma
        {0xFFF, ",,"},
        {0x100402, "WRONG_CALL"},
        {0x1000001, "CANNOT_OPEN_FILE"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ErrorNames(CPKCS7_ERROR{row.code}), row.names) << std::hex << row.code;
    const char* const types[] = {"SIGN", "ENCRYPT", "SIGNENCRYPT", "RECOVER", "UNKNOWN", ""};
    for (std::uint32_t type = 0; type < std::size(types); ++type)
        EXPECT_EQ(TypeName(CPKCS7_TYPE{type}), types[type]);
}

}  // namespace
}  // namespace tarnwell
