#include "common/crypto/certificate_label.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "test_signer.h"

namespace tarnwell {
namespace {

using test::EKeyKind;
using test::TestSigner;
using CUniqueName = CUnique<CPointerTraits<X509_NAME, X509_NAME_free>>;
using Entries = std::vector<std::pair<int, std::string>>;

CUniqueName Name(const Entries& entries, int encoding = MBSTRING_UTF8) {
    CUniqueName name(X509_NAME_new());
    for (const auto& [nid, text] : entries)
        X509_NAME_add_entry_by_NID(name.Get(), nid, encoding,
                                   reinterpret_cast<const unsigned char*>(text.data()),
                                   static_cast<int>(text.size()), -1, 0);
    return name;
}

TEST(GetNameLabel, TakesTheBestPartOfTheName) {
    const struct {
        Entries entries;
        const char* label;
    } rows[] = {
        {{}, ""},
        {{{NID_countryName, "PL"}}, ""},
        {{{NID_commonName, "First"}, {NID_organizationName, "O"}, {NID_commonName, "Second"}},
         "Second"},
        {{{NID_organizationName, "O"},
          {NID_organizationalUnitName, "Unit"},
          {NID_organizationalUnitName, "Other"}},
         "Unit"},
        {{{NID_pkcs9_emailAddress, "a@example.org"}, {NID_organizationName, "O"}}, "O"},
        {{{NID_countryName, "PL"}, {NID_pkcs9_emailAddress, "a@example.org"}}, "a@example.org"},
        {{{NID_commonName, "Zażółć"}}, "Zażółć"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(GetNameLabel(Name(row.entries).Get()), row.label) << row.label;
}

TEST(GetNameLabel, OtherEncodingsBecomeUtf8) {
    EXPECT_EQ(GetNameLabel(Name({{NID_commonName, "Ren\xE9"}}, V_ASN1_T61STRING).Get()), "René");
    EXPECT_EQ(
        GetNameLabel(Name({{NID_commonName, std::string("\0A\1\x05", 4)}}, V_ASN1_BMPSTRING).Get()),
        "Aą");
    // Octets that are no text in the encoding that they claim, and a value that is no text.
    EXPECT_EQ(GetNameLabel(Name({{NID_commonName, "\xFF\xFE"}}, V_ASN1_UTF8STRING).Get()), "");
    EXPECT_EQ(GetNameLabel(Name({{NID_commonName, "abc"}}, V_ASN1_BMPSTRING).Get()), "");
}

TEST(GetCertificateLabel, FillsThePattern) {
    TestSigner signer(EKeyKind::kEc, "Subject");
    X509* x509 = signer.certificate.Get();
    ASN1_INTEGER_set(X509_get_serialNumber(x509), 1);
    X509_set_issuer_name(x509, Name({{NID_organizationName, "Issuer"}}).Get());
    X509_sign(x509, signer.key.Get(), EVP_sha256());
    CUniqueOpenSslBytes der;
    const int length = i2d_X509(x509, der.Put());
    const std::span<const unsigned char> bytes(der.Get(), static_cast<std::size_t>(length));

    const struct {
        const char* pattern;
        const char* label;
    } rows[] = {
        {"", ""},        {"%s (%i), %#", "Subject (Issuer), 020101"}, {"%%s", "%s"}, {"a%xb", "ab"},
        {"100%", "100"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(GetCertificateLabel(row.pattern, "?", bytes), row.label) << row.pattern;
    EXPECT_EQ(GetCertificateLabel("%s", "no certificate", bytes.subspan(1)), "no certificate");
    EXPECT_EQ(GetCertificateLabel("%s", "no certificate", {}), "no certificate");
}

TEST(GetCertificateLabel, EmptyNamesBecomeQuestionMarks) {
    TestSigner signer(EKeyKind::kEc, "Subject");
    X509* x509 = signer.certificate.Get();
    X509_set_subject_name(x509, Name({}).Get());
    X509_set_issuer_name(x509, Name({}).Get());
    X509_sign(x509, signer.key.Get(), EVP_sha256());
    CUniqueOpenSslBytes der;
    const int length = i2d_X509(x509, der.Put());
    EXPECT_EQ(GetCertificateLabel("%s/%i", "", {der.Get(), static_cast<std::size_t>(length)}),
              "?/?");
}

}  // namespace
}  // namespace tarnwell
