#include <gtest/gtest.h>

#include "common/crypto/certificate_label.h"
#include "common/crypto/pkcs7_error.h"
#include "support/test_signer.h"

namespace tarnwell {
namespace {

using CUniqueName = CUnique<CPointerTraits<X509_NAME, X509_NAME_free>>;

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
    const test::TestSigner signer(test::kOtherRsa);
    X509* x509 = signer.certificate.Get();
    X509_set_issuer_name(x509, CUniqueName(X509_NAME_new()).Get());
    X509_sign(x509, signer.key.Get(), EVP_sha256());
    CUniqueOpenSslBytes der;
    const std::size_t length = static_cast<std::size_t>(i2d_X509(x509, der.Put()));
    const std::span<const unsigned char> bytes(der.Get(), length);
    EXPECT_EQ(GetCertificateLabel("%s (%i), %# %%s a%xb 100%", "", bytes),
              "Recipient 2 Vint (?), 020101 %s ab 100");
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
