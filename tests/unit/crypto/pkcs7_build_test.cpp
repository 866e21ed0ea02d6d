#include "common/crypto/pkcs7_build.h"

#include <gmock/gmock.h>
#include <openssl/err.h>
#include <openssl/objects.h>
#include <openssl/rsa.h>
#include <openssl/sha.h>

#include "common/crypto/asn1_time.h"
#include "common/crypto/pkcs7_request.h"
#include "support/temp_folder.h"
#include "support/test_signer.h"
#include "support/trace_listener.h"

namespace tarnwell {
namespace {

using namespace test;
using namespace testing;
using enum CPKCS7_TYPE;

enum EDigestStep { kInit, kUpdate, kFinal, kNoStep };

// Of the digest that was handed out last.
EDigestStep s_failsAt;
std::size_t s_finished;

SHA256_CTX* State(EVP_MD_CTX* context) {
    return static_cast<SHA256_CTX*>(EVP_MD_CTX_md_data(context));
}

/// The test's own SHA-256, which counts from now on what it computes and fails at one step or none.
const EVP_MD* CountingDigest(EDigestStep failsAt = kNoStep) {
    using CUniqueDigest = CUnique<CPointerTraits<EVP_MD, EVP_MD_meth_free>>;
    static const CUniqueDigest digest(EVP_MD_meth_new(NID_sha256, NID_sha256WithRSAEncryption));
    EVP_MD_meth_set_result_size(digest.Get(), SHA256_DIGEST_LENGTH);
    EVP_MD_meth_set_input_blocksize(digest.Get(), SHA256_CBLOCK);
    EVP_MD_meth_set_app_datasize(digest.Get(), sizeof(SHA256_CTX));
    EVP_MD_meth_set_init(digest.Get(), [](EVP_MD_CTX* context) {
        return s_failsAt == kInit ? 0 : SHA256_Init(State(context));
    });
    EVP_MD_meth_set_update(digest.Get(), [](EVP_MD_CTX* context, const void* data, size_t size) {
        return s_failsAt == kUpdate ? 0 : SHA256_Update(State(context), data, size);
    });
    EVP_MD_meth_set_final(digest.Get(), [](EVP_MD_CTX* context, unsigned char* result) {
        ++s_finished;
        return s_failsAt == kFinal ? 0 : SHA256_Final(result, State(context));
    });
    s_failsAt = failsAt;
    s_finished = 0;
    return digest.Get();
}

/// What "SHA256" stands for in OpenSSL's name table.
const char* RegisteredSha256() {
    OPENSSL_init_crypto(OPENSSL_INIT_ADD_ALL_DIGESTS, nullptr);
    return OBJ_NAME_get("SHA256", OBJ_NAME_TYPE_MD_METH);
}

void Add(CPKCS7Build& build, const char* file, const EVP_MD* digest) {
    const TestSigner signer(file);
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
        std::vector<const char*> othersWithOpenSslsOwn, signers;
    } rows[] = {
        {SIGN, {}, {kRsa}}, {SIGN, {}, {kRsa, kEc}},  {SIGN, {kOtherRsa}, {kRsa}},
        {SIGN, {}, {kEc}},  {SIGNENCRYPT, {}, {kEc}},
    };
    for (const auto& row : rows) {
        const EVP_MD* digest = CountingDigest();
        CPKCS7Build build(row.type);
        build.AddRecipient(reader.certificate.Get());
        for (const char* other : row.othersWithOpenSslsOwn)
            Add(build, other, EVP_sha256());
        for (const char* signer : row.signers)
            Add(build, signer, digest);
        CTraceListener trace;
        ASSERT_EQ(build.Build(Utf16(input), CUTF16String()), CPKCS7_ERROR::NONE);
        const std::string name =
            row.type == SIGN ? "CPKCS7::Build_sign" : "CPKCS7::Build_signencrypt";
        EXPECT_THAT(trace.Lines(), ElementsAre("enter " + name, "leave " + name));
        EXPECT_TRUE(build.WasWritten());
        const auto signers = row.othersWithOpenSslsOwn.size() + row.signers.size();
        EXPECT_EQ(s_finished, 2 * signers);
        EXPECT_EQ(RegisteredSha256(), registered);

        CPKCS7Request file(Utf16(folder / "doc.txt.p7"));
        EXPECT_EQ(file->IsSignedAndEnveloped(), row.type == SIGNENCRYPT);
        const auto list = file->GetSigners(reader.certificate.Get(), reader.key.Get());
        ASSERT_EQ(list.Get()->size(), signers);
        for (const auto& signer : *list.Get()) {
            EXPECT_TRUE(signer->verified);
            EXPECT_LT(std::abs(Asn1TimeToTime(signer->signingTime, nullptr) - std::time(nullptr)),
                      60);
        }
    }
}

TEST(CPKCS7Build, EachEarlyExitHasItsCodeItsMessagesAndLeavesNothing) {
    const std::string noSigner = "You cannot sign without signer";
    const std::string noRecipient = "You cannot encrypte without recipient";
    const std::string badRecipient = "Failed to add recipient";
    const std::string signFailed = "PKCS7 signature processing failed";
    const std::string ioFailed = "PKCS7 input/output failed";
    const std::string notOpened = "We cannot open file.";
    const std::string notSigned = "PKCS7 data processing failed";
    const Matcher<std::string> itsOwnError = AllOf(StartsWith("error:"), Not(HasSubstr("77")));
    const struct {
        CPKCS7_TYPE type;
        std::vector<const char*> signers, recipients;
        const char* input;
        std::uint32_t code;
        std::vector<Matcher<std::string>> messages;
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
        {SIGN, {kRsa}, {}, "doc.txt", 0x12, {notSigned, itsOwnError}, kFinal},
    };
    const CTempFolder folder;
    folder.Write("doc.txt", "content");
    folder.WriteZeros("huge", std::uint64_t{1} << 31);
    const char* registered = RegisteredSha256();
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        CPKCS7Build build(row.type);
        for (const char* signer : row.signers)
            Add(build, signer, CountingDigest(row.failsAt));
        for (const char* recipient : row.recipients)
            build.AddRecipient(TestSigner(recipient).certificate.Get());
        CTraceListener trace;
        ERR_clear_error();
        ERR_raise(ERR_LIB_USER, 77);  // somebody else's, and older
        const auto input = *row.input ? Utf16(folder / row.input) : CUTF16String();
        EXPECT_EQ(build.Build(input, Utf16(folder / "out.p7")), CPKCS7_ERROR{row.code});
        EXPECT_THAT(trace.Messages(), ElementsAreArray(row.messages));
        EXPECT_EQ(build.Build(Utf16(folder / "doc.txt"), Utf16(folder / "out.p7")),
                  CPKCS7_ERROR{row.code})
            << "what has failed goes on failing";
        EXPECT_EQ(build.Error(), CPKCS7_ERROR{row.code});
        EXPECT_FALSE(build.WasWritten() || std::filesystem::exists(folder / "out.p7"));
        EXPECT_EQ(RegisteredSha256(), registered);
    }
}

TEST(CDigestRegistration, HoldsTheLastDigestAndPutsBackWhatStoodBeforeTheFirst) {
    const char* registered = RegisteredSha256();
    {
        CDigestRegistration registration;
        registration.Replace(EVP_sha384());
        registration.Replace(CountingDigest());
        EXPECT_EQ(EVP_get_digestbyname("SHA256"), CountingDigest());
    }
    EXPECT_EQ(RegisteredSha256(), registered);
}

}  // namespace
}  // namespace tarnwell
