#include "common/crypto/pkcs7_error.h"

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

TEST(TypeName, CodesBeyondTheLastHaveNone) {
    const char* const names[] = {"SIGN", "ENCRYPT", "SIGNENCRYPT", "RECOVER", "UNKNOWN", "", ""};
    for (std::uint32_t code = 0; code < std::size(names); ++code)
        EXPECT_EQ(TypeName(CPKCS7_TYPE{code}), names[code]) << code;
    EXPECT_EQ(TypeName(CPKCS7_TYPE{0xFFFFFFFF}), "");
}

TEST(ErrorNames, FieldsAreNamedAndJoined) {
    const struct {
        std::uint32_t code;
        const char* names;
    } rows[] = {
        {0, ""},
        {0x1, "CANNOT_OPEN_FILE"},
        {0x2, "ERROR_OPENSSL"},
        {0x3, "ERROR_PK_PARAMS"},
        {0x4, "ERROR_CERT_PARAMS"},
        {0x5, "ERROR_TYPE"},
        {0x10, "ERROR_WRITING_FILE"},
        {0x20, "ERROR_GETTING_FILE"},
        {0x30, "GET_TYPE_FAIL"},
        {0x50, "GET_SIGNER_FAIL"},
        {0x12, "ERROR_OPENSSL,ERROR_WRITING_FILE"},
        {0x42, "ERROR_OPENSSL,GET_RECIPIENT_FAIL"},
        {0x45, "ERROR_TYPE,GET_RECIPIENT_FAIL"},
        {0x52, "ERROR_OPENSSL,GET_SIGNER_FAIL"},
        {0x55, "ERROR_TYPE,GET_SIGNER_FAIL"},
        {0x100, "ERROR_SIGN"},
        {0x200, "ERROR_ENCRYPT"},
        {0x300, "ERROR_SIGNENCRYPT"},
        {0x402, "ERROR_OPENSSL,ERROR_RECOVER"},
        {0x410, "ERROR_WRITING_FILE,ERROR_RECOVER"},
        {0x111, "CANNOT_OPEN_FILE,ERROR_WRITING_FILE,ERROR_SIGN"},
        // Values without a name keep their comma, so that a trace shows that they were there.
        {0x6, ""},
        {0x406, ",ERROR_RECOVER"},
        {0x502, "ERROR_OPENSSL,"},
        {0x160, ",ERROR_SIGN"},
        {0xFFF, ",,"},
        {0x1000, ""},
        {0x100000 | 0x402, "WRONG_CALL"},
        {0x800000, "WRONG_CALL"},
        {0x1000000 | 0x1, "CANNOT_OPEN_FILE"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ErrorNames(CPKCS7_ERROR{row.code}), row.names) << std::hex << row.code;
}

}  // namespace
}  // namespace tarnwell
