#include "common/crypto/pkcs7_build.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/err.h>

#include "common/crypto/asn1_time.h"
#include "support/temp_folder.h"
#include "support/trace_listener.h"
#include "test_signer.h"

namespace tarnwell {
namespace {

using namespace test;
using namespace testing;
using enum CPKCS7_TYPE;

void Add(CPKCS7Build& build, EKeyKind kind, const EVP_MD* digest) {
    const TestSigner signer(kind);
    build.AddSigner(signer.certificate.Get(), signer.key.Get(), digest);
}

// Both digests of each signer: of the content (one running digest for all), and of the attributes.
TEST(CPKCS7Build, TheSignersOwnDigestObjectComputesBothDigests) {
    const CTempFolder folder;
    const auto input = folder.Write("doc.txt", "content");
    const char* registered = RegisteredSha256();
    const TestSigner reader(kRsa);
    const struct {
        CPKCS7_TYPE type;
        EKeyKind kind;
        int signers;
        bool onlyTheLastOnes;  ///< the other signers bring OpenSSL's own
    } rows[] = {
        {SIGN, kRsa, 1, false}, {SIGN, kRsa, 2, false}, {SIGN, kRsa, 2, true},
        {SIGN, kEc, 1, false},  {SIGN, kEc, 2, false},  {SIGNENCRYPT, kEc, 1, false},
    };
    for (const auto& row : rows) {
        const EVP_MD* digest = CountingDigest();
        CPKCS7Build build(row.type);
        build.AddRecipient(reader.certificate.Get());
        for (int left = row.signers; left > 0; --left)
            Add(build, row.kind, row.onlyTheLastOnes && left > 1 ? EVP_sha256() : digest);
        CTraceListener trace;
        ASSERT_EQ(build.Build(Utf16(input), CUTF16String()), CPKCS7_ERROR::NONE);
        EXPECT_EQ(trace.Count(row.type == SIGN ? "enter CPKCS7::Build_sign"
                                               : "enter CPKCS7::Build_signencrypt"),
                  1u);
        EXPECT_EQ(trace.Lines().size(), 2u);
        EXPECT_TRUE(build.WasWritten());
        EXPECT_EQ(digestCalls.inits, 1 + row.signers);
        EXPECT_EQ(digestCalls.finals, 2 * row.signers);
        EXPECT_GT(digestCalls.bytes, 100u * static_cast<unsigned>(row.signers));
        EXPECT_EQ(RegisteredSha256(), registered);

        CPKCS7Request file(Utf16(folder / "doc.txt.p7"));
        EXPECT_EQ(file->GetType(), row.type);
        EXPECT_EQ(file->IsSignedAndEnveloped(), row.type == SIGNENCRYPT);
        const auto list = file->GetSigners(reader.certificate.Get(), reader.key.Get());
        ASSERT_EQ(list.Get()->size(), static_cast<std::size_t>(row.signers));
        for (const auto& signer : *list.Get()) {
            EXPECT_TRUE(signer->verified);
            const auto signedAt = Asn1TimeToTime(signer->signingTime, nullptr);
            EXPECT_NEAR(static_cast<double>(signedAt), static_cast<double>(std::time(nullptr)), 60);
        }
        const auto withoutKey = file->GetSigners(nullptr, nullptr);
        EXPECT_EQ(withoutKey.Get()->at(0)->verified, row.type == SIGN);
        EXPECT_EQ(file->GetContentDigest().has_value(), row.type == SIGN);
    }
}

TEST(CPKCS7Build, EachEarlyExitHasItsCodeItsMessagesAndLeavesNothing) {
    const std::string noSigner = "You cannot sign without signer";
    const std::string noRecipient = "You cannot encrypte without recipient";
    const std::string badRecipient = "Failed to add recipient";
    const std::string signFailed = "PKCS7 signature processing failed";
    const std::string ioFailed = "PKCS7 input/output failed";
    const std::string notOpened = "We cannot open file.";
    const struct {
        CPKCS7_TYPE type;
        std::vector<EKeyKind> signers, recipients;
        const char* input;
        std::uint32_t code;
        std::vector<std::string> messages;
        EDigestStep failsAt = kNoStep;
    } rows[] = {
        {SIGN, {kRsa}, {}, "", 0x3, {"You cannot build a file without a file duh."}},
        {SIGN, {}, {}, "missing", 0x50, {noSigner}},
        {ENCRYPT, {}, {}, "doc.txt", 0x50, {noRecipient}},
        {SIGNENCRYPT, {}, {}, "doc.txt", 0x50, {noRecipient, noSigner}},
        {SIGN, {kRsa}, {}, "missing", 0x1, {notOpened}},
        {SIGN, {kRsa}, {}, "huge", 0x12, {ioFailed}},
        {SIGN, {kEd25519, kRsa}, {}, "doc.txt", 0x2, {signFailed, signFailed}},
        {ENCRYPT, {}, {kEc, kRsa}, "doc.txt", 0x2, {badRecipient, badRecipient}},
        {ENCRYPT, {}, {kRsa, kEc}, "doc.txt", 0x2, {badRecipient}},
        {SIGNENCRYPT, {kRsa}, {kEc}, "doc.txt", 0x2, {badRecipient, signFailed}},
        {RECOVER, {kRsa}, {}, "doc.txt", 0x12, {ioFailed}},
        {UNKNOWN, {}, {}, "missing", 0x1, {notOpened}},
        {SIGN, {kRsa}, {}, "doc.txt", 0x12, {ioFailed}, kInit},
        {SIGN, {kRsa}, {}, "doc.txt", 0x12, {ioFailed}, kUpdate},
    };
    const CTempFolder folder;
    folder.Write("doc.txt", "content");
    std::filesystem::resize_file(folder.Write("huge", ""), std::uint64_t{1} << 31);
    const char* registered = RegisteredSha256();
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        CPKCS7Build build(row.type);
        for (const EKeyKind kind : row.signers)
            Add(build, kind, CountingDigest(row.failsAt));
        for (const EKeyKind kind : row.recipients)
            build.AddRecipient(TestSigner(kind).certificate.Get());
        CTraceListener trace;
        const auto input = *row.input ? Utf16(folder / row.input) : CUTF16String();
        EXPECT_EQ(build.Build(input, Utf16(folder / "out.p7")), CPKCS7_ERROR{row.code});
        EXPECT_EQ(build.Error(), CPKCS7_ERROR{row.code});
        EXPECT_EQ(trace.Messages(), row.messages);
        EXPECT_FALSE(build.WasWritten() || std::filesystem::exists(folder / "out.p7"));
        EXPECT_EQ(RegisteredSha256(), registered);
    }
}

TEST(CPKCS7Build, ASigningThatFailsReportsItsOwnErrorAndNoOlderOne) {
    const CTempFolder folder;
    const auto input = Utf16(folder.Write("doc.txt", "content"));
    const char* registered = RegisteredSha256();
    CPKCS7Build build(SIGN);
    Add(build, kRsa, CountingDigest(kFinal));
    CTraceListener trace;
    ERR_clear_error();  // the one below is to be the oldest
    ERR_raise(ERR_LIB_USER, 77);
    EXPECT_EQ(build.Build(input, CUTF16String()), CPKCS7_ERROR{0x12});
    EXPECT_THAT(trace.Messages(), ElementsAre("PKCS7 data processing failed",
                                              AllOf(StartsWith("error:"), Not(HasSubstr("77")))));
    EXPECT_EQ(RegisteredSha256(), registered);
}

TEST(CDigestRegistration, IsPutBackByAThrowToo) {
    const char* registered = RegisteredSha256();
    try {
        CDigestRegistration registration;
        registration.Replace(EVP_sha384());
        registration.Replace(CountingDigest());
        EXPECT_EQ(EVP_get_digestbyname("SHA256"), CountingDigest());
        throw CPKCS7_ERROR{CPKCS7_ERROR::ERROR_OPENSSL};
    } catch (CPKCS7_ERROR) {
        EXPECT_EQ(RegisteredSha256(), registered);
    }
}

}  // namespace
}  // namespace tarnwell
