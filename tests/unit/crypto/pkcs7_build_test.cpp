#include "common/crypto/pkcs7_build.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/err.h>

#include <functional>
#include <set>

#include "common/crypto/asn1_time.h"
#include "common/crypto/pkcs7_request.h"
#include "support/temp_folder.h"
#include "support/trace_listener.h"
#include "test_signer.h"

namespace tarnwell {
namespace {

using test::CCountingDigest;
using test::CTempFolder;
using test::CTraceListener;
using test::EKeyKind;
using test::ReadBytes;
using test::TestSigner;
using test::Utf16;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string kContent("the content, with a \0 in it\r\n", 29);

void Add(CPKCS7Build& build, const TestSigner& signer, const EVP_MD* digest = EVP_sha256()) {
    build.AddSigner(signer.certificate.Get(), signer.key.Get(), digest);
}

TEST(CPKCS7Build, ASignedFileReadsBackWithContentTimeAndSigners) {
    const CTempFolder folder;
    const auto input = folder.Write("doc.txt", kContent);
    CPKCS7Build build(CPKCS7_TYPE::SIGN);
    Add(build, TestSigner(EKeyKind::kRsa, "Rita"));
    Add(build, TestSigner(EKeyKind::kEc, "Ed"), EVP_sha384());
    CTraceListener trace;
    EXPECT_EQ(build.Build(Utf16(input), CUTF16String()), CPKCS7_ERROR::NONE);
    EXPECT_TRUE(build.WasWritten());
    EXPECT_THAT(trace.Lines(), ElementsAre("enter CPKCS7::Build_sign", "leave CPKCS7::Build_sign"));

    CPKCS7Request file(Utf16(folder / "doc.txt.p7"));
    EXPECT_TRUE(file->IsOnlySigned());
    const CUniqueSignerList signers = file->GetSigners(nullptr, nullptr);
    ASSERT_EQ(signers.Get()->size(), 2u);
    std::set<std::string> names;  // DER sorts them by their encodings
    for (const auto& signer : *signers.Get()) {
        names.insert(test::Label(*signer));
        EXPECT_TRUE(signer->verified);
        int status = -1;
        const auto signedAt = Asn1TimeToTime(signer->signingTime, &status);
        EXPECT_EQ(status, kTimeConverted);
        EXPECT_NEAR(static_cast<double>(signedAt), static_cast<double>(std::time(nullptr)), 60);
    }
    EXPECT_THAT(names, ElementsAre("Ed", "Rita"));
    EXPECT_EQ(file->GetContentDigest()->size, kContent.size());
    std::filesystem::remove(input);
    file->Recover(nullptr, nullptr);
    EXPECT_EQ(ReadBytes(input), kContent);
}

TEST(CPKCS7Build, AnEncryptedFileOpensForEachRecipient) {
    const CTempFolder folder;
    for (const CPKCS7_TYPE type : {CPKCS7_TYPE::ENCRYPT, CPKCS7_TYPE::SIGNENCRYPT}) {
        const auto input = folder.Write("doc.txt", kContent);
        const TestSigner ann(EKeyKind::kRsa, "Ann");
        const TestSigner bob(EKeyKind::kRsa, "Bob");
        CPKCS7Build build(type);
        build.AddRecipient(ann.certificate.Get());
        build.AddRecipient(bob.certificate.Get());
        if (type == CPKCS7_TYPE::SIGNENCRYPT)
            Add(build, TestSigner(EKeyKind::kEc, "Ed"));
        ASSERT_EQ(build.Build(Utf16(input), Utf16(folder / "out.txt.p7m")), CPKCS7_ERROR::NONE);
        EXPECT_EQ(ReadBytes(folder / "out.txt.p7m").find("the content"), std::string::npos);

        for (const TestSigner* reader : {&ann, &bob}) {
            CPKCS7Request file(Utf16(folder / "out.txt.p7m"));
            EXPECT_EQ(file->GetType(), type);
            EXPECT_EQ(file->GetRecipients().size(), 2u);
            if (type == CPKCS7_TYPE::SIGNENCRYPT) {
                const auto signers = file->GetSigners(reader->certificate.Get(), reader->key.Get());
                EXPECT_TRUE(signers.Get()->at(0)->verified);
            }
            file->Recover(reader->certificate.Get(), Share(reader->key.Get()).Release());
            EXPECT_EQ(ReadBytes(folder / "out.txt"), kContent);
            std::filesystem::remove(folder / "out.txt");
        }
    }
}

TEST(CPKCS7Build, AnEmptyFileCanBeEnclosed) {
    const CTempFolder folder;
    const TestSigner signer(EKeyKind::kRsa, "Signer");
    const auto input = folder.Write("empty", "");
    CPKCS7Build build(CPKCS7_TYPE::SIGN);
    Add(build, signer);
    ASSERT_EQ(build.Build(Utf16(input), CUTF16String()), CPKCS7_ERROR::NONE);
    CPKCS7Request file(Utf16(folder / "empty.p7"));
    EXPECT_TRUE(file->GetSigners(nullptr, nullptr).Get()->at(0)->verified);
    EXPECT_EQ(file->GetContentDigest()->size, 0u);
}

// Both digests of each signer: of the content (one running digest for all), and of the attributes.
TEST(CPKCS7Build, TheSignersOwnDigestObjectComputesBothDigests) {
    const CTempFolder folder;
    const auto input = folder.Write("doc.txt", kContent);
    for (const EKeyKind kind : {EKeyKind::kRsa, EKeyKind::kEc}) {
        for (const int signers : {1, 2}) {
            CCountingDigest digest;
            CPKCS7Build build(CPKCS7_TYPE::SIGN);
            for (int i = 0; i < signers; ++i)
                Add(build, TestSigner(kind, "Signer"), digest.Get());
            ASSERT_EQ(build.Build(Utf16(input), CUTF16String()), CPKCS7_ERROR::NONE);
            EXPECT_EQ(digest.Log().inits, 1 + signers);
            EXPECT_EQ(digest.Log().finals, 2 * signers);
            EXPECT_GT(digest.Log().bytes, kContent.size() + 100u * static_cast<unsigned>(signers))
                << "the attributes as well";

            CPKCS7Request file(Utf16(folder / "doc.txt.p7"));
            const CUniqueSignerList list = file->GetSigners(nullptr, nullptr);
            ASSERT_EQ(list.Get()->size(), static_cast<std::size_t>(signers));
            for (const auto& signer : *list.Get())
                EXPECT_TRUE(signer->verified);
            const auto* info =
                sk_PKCS7_SIGNER_INFO_value(PKCS7_get_signer_info(file->GetPKCS7()), 0);
            EXPECT_EQ(OBJ_obj2nid(info->digest_alg->algorithm), NID_sha256);
        }
    }
}

TEST(CPKCS7Build, OfSeveralSignersTheLastOnesDigestObjectCounts) {
    const CTempFolder folder;
    const auto input = folder.Write("doc.txt", kContent);
    CCountingDigest first;
    CCountingDigest last;
    CPKCS7Build build(CPKCS7_TYPE::SIGN);
    Add(build, TestSigner(EKeyKind::kRsa, "One"), first.Get());
    Add(build, TestSigner(EKeyKind::kEc, "Two"), last.Get());
    ASSERT_EQ(build.Build(Utf16(input), CUTF16String()), CPKCS7_ERROR::NONE);
    EXPECT_EQ(first.Log().finals, 0);
    EXPECT_EQ(last.Log().finals, 4);
}

TEST(CPKCS7Build, SignAndEncryptUsesTheSignersDigestObjectToo) {
    const CTempFolder folder;
    const TestSigner signer(EKeyKind::kRsa, "Signer");
    const auto input = folder.Write("doc.txt", kContent);
    CCountingDigest digest;
    CPKCS7Build build(CPKCS7_TYPE::SIGNENCRYPT);
    build.AddRecipient(signer.certificate.Get());
    Add(build, signer, digest.Get());
    ASSERT_EQ(build.Build(Utf16(input), CUTF16String()), CPKCS7_ERROR::NONE);
    EXPECT_EQ(digest.Log().finals, 2);
}

/// One way through Build that ends early, and what it leaves.
struct Exit {
    const char* name;
    CPKCS7_TYPE type;
    std::function<void(CPKCS7Build&)> prepare;
    std::function<CUTF16String(const CTempFolder&)> input;
    std::uint32_t code;
    std::vector<std::string> messages;
};

std::vector<Exit> Exits(const EVP_MD* digest) {
    const auto good = [](const CTempFolder& folder) { return Utf16(folder / "doc.txt"); };
    const auto missing = [](const CTempFolder& folder) { return Utf16(folder / "missing"); };
    const auto none = [](const CTempFolder&) { return CUTF16String(); };
    const auto sign = [digest](EKeyKind kind) {
        return [=](CPKCS7Build& build) { Add(build, TestSigner(kind, "S"), digest); };
    };
    const auto nobody = [](CPKCS7Build&) {};
    const std::string noSigner = "You cannot sign without signer";
    const std::string noRecipient = "You cannot encrypte without recipient";
    const std::string signFailed = "PKCS7 signature processing failed";
    const std::string ioFailed = "PKCS7 input/output failed";
    const auto ed25519Then = [=](EKeyKind kind) {
        return [=](CPKCS7Build& build) {
            Add(build, TestSigner(EKeyKind::kEd25519, "Bad"), digest);
            Add(build, TestSigner(kind, "Good"), digest);
        };
    };
    const auto recipients = [](std::initializer_list<EKeyKind> kinds) {
        return [kinds = std::vector<EKeyKind>(kinds)](CPKCS7Build& build) {
            for (const EKeyKind kind : kinds)
                build.AddRecipient(TestSigner(kind, "R").certificate.Get());
        };
    };
    constexpr EKeyKind kRsa = EKeyKind::kRsa;
    constexpr EKeyKind kEc = EKeyKind::kEc;
    return {
        {"no path",
         CPKCS7_TYPE::SIGN,
         sign(kRsa),
         none,
         0x3,
         {"You cannot build a file without a file duh."}},
        {"no signer", CPKCS7_TYPE::SIGN, nobody, good, 0x50, {noSigner}},
        {"no signer, no file", CPKCS7_TYPE::SIGN, nobody, missing, 0x50, {noSigner}},
        {"no recipient", CPKCS7_TYPE::ENCRYPT, nobody, good, 0x50, {noRecipient}},
        {"neither", CPKCS7_TYPE::SIGNENCRYPT, nobody, good, 0x50, {noRecipient, noSigner}},
        {"signer only", CPKCS7_TYPE::SIGNENCRYPT, sign(kRsa), good, 0x50, {noRecipient}},
        {"recipient only", CPKCS7_TYPE::SIGNENCRYPT, recipients({kRsa}), good, 0x50, {noSigner}},
        {"no file to sign", CPKCS7_TYPE::SIGN, sign(kRsa), missing, 0x1, {"We cannot open file."}},
        {"no file to encrypt",
         CPKCS7_TYPE::ENCRYPT,
         recipients({kRsa}),
         missing,
         0x1,
         {"We cannot open file."}},
        {"a key that cannot sign",
         CPKCS7_TYPE::SIGN,
         sign(EKeyKind::kEd25519),
         good,
         0x2,
         {signFailed}},
        {"after it the good one fails too",
         CPKCS7_TYPE::SIGN,
         ed25519Then(kRsa),
         good,
         0x2,
         {signFailed, signFailed}},
        {"a recipient without RSA",
         CPKCS7_TYPE::ENCRYPT,
         recipients({kEc}),
         good,
         0x2,
         {"Failed to add recipient"}},
        {"the first of two",
         CPKCS7_TYPE::ENCRYPT,
         recipients({kEc, kRsa}),
         good,
         0x2,
         {"Failed to add recipient", "Failed to add recipient"}},
        {"the second of two",
         CPKCS7_TYPE::ENCRYPT,
         recipients({kRsa, kEc}),
         good,
         0x2,
         {"Failed to add recipient"}},
        {"a bad recipient fails the signers",
         CPKCS7_TYPE::SIGNENCRYPT,
         [=](CPKCS7Build& build) {
             recipients({kEc})(build);
             sign(kRsa)(build);
         },
         good,
         0x2,
         {"Failed to add recipient", signFailed}},
        {"no such type", CPKCS7_TYPE::RECOVER, sign(kRsa), good, 0x12, {ioFailed}},
        {"no such type, no file",
         CPKCS7_TYPE::UNKNOWN,
         nobody,
         missing,
         0x1,
         {"We cannot open file."}},
    };
}

TEST(CPKCS7Build, EachEarlyExitHasItsCodeItsMessagesAndLeavesNothing) {
    OPENSSL_init_crypto(OPENSSL_INIT_ADD_ALL_DIGESTS, nullptr);
    const char* registered = test::RegisteredSha256();
    ASSERT_NE(registered, nullptr);
    CCountingDigest digest;
    for (const Exit& exit : Exits(digest.Get())) {
        const CTempFolder folder;
        folder.Write("doc.txt", kContent);
        CPKCS7Build build(exit.type);
        exit.prepare(build);
        CTraceListener trace;
        EXPECT_EQ(build.Build(exit.input(folder), CUTF16String()), CPKCS7_ERROR{exit.code})
            << exit.name;
        EXPECT_EQ(build.Error(), CPKCS7_ERROR{exit.code}) << exit.name;
        EXPECT_EQ(trace.Messages(), exit.messages) << exit.name;
        EXPECT_FALSE(build.WasWritten()) << exit.name;
        EXPECT_FALSE(std::filesystem::exists(folder / "doc.txt.p7")) << exit.name;
        EXPECT_EQ(test::RegisteredSha256(), registered) << exit.name;
    }
}

TEST(CPKCS7Build, ADigestObjectThatFailsIsReportedWhereItFails) {
    const CTempFolder folder;
    const auto input = folder.Write("doc.txt", kContent);
    const char* registered = test::RegisteredSha256();
    for (const auto step : {CCountingDigest::kInit, CCountingDigest::kUpdate}) {
        CCountingDigest digest;
        digest.Log().failsAt = step;
        CPKCS7Build build(CPKCS7_TYPE::SIGN);
        Add(build, TestSigner(EKeyKind::kRsa, "S"), digest.Get());
        CTraceListener trace;
        EXPECT_EQ(build.Build(Utf16(input), CUTF16String()), CPKCS7_ERROR{0x12});
        EXPECT_THAT(trace.Messages(), ElementsAre("PKCS7 input/output failed"));
        EXPECT_EQ(test::RegisteredSha256(), registered);
    }
    CCountingDigest digest;
    digest.Log().failsAt = CCountingDigest::kFinal;
    CPKCS7Build build(CPKCS7_TYPE::SIGN);
    Add(build, TestSigner(EKeyKind::kRsa, "S"), digest.Get());
    CTraceListener trace;
    ERR_raise(ERR_LIB_USER, 77);  // an error of somebody else's, which must not be reported here
    EXPECT_EQ(build.Build(Utf16(input), CUTF16String()), CPKCS7_ERROR{0x12});
    EXPECT_THAT(trace.Messages(), ElementsAre("PKCS7 data processing failed",
                                              AllOf(StartsWith("error:"), Not(HasSubstr("77")))));
    EXPECT_EQ(test::RegisteredSha256(), registered);
}

TEST(CPKCS7Build, AfterABuildTheRegistrationIsWhatItWas) {
    const CTempFolder folder;
    const auto input = folder.Write("doc.txt", kContent);
    const char* registered = test::RegisteredSha256();
    CCountingDigest first;
    CCountingDigest second;
    CPKCS7Build build(CPKCS7_TYPE::SIGN);
    Add(build, TestSigner(EKeyKind::kRsa, "One"), first.Get());
    Add(build, TestSigner(EKeyKind::kRsa, "Two"), second.Get());
    ASSERT_EQ(build.Build(Utf16(input), CUTF16String()), CPKCS7_ERROR::NONE);
    EXPECT_EQ(test::RegisteredSha256(), registered);
}

TEST(CDigestRegistration, StandsWhileItsOwnerLivesThrowsIncluded) {
    OPENSSL_init_crypto(OPENSSL_INIT_ADD_ALL_DIGESTS, nullptr);
    const char* registered = test::RegisteredSha256();
    CCountingDigest first;
    CCountingDigest second;
    try {
        CDigestRegistration registration;
        registration.Replace(first.Get());
        EXPECT_EQ(EVP_get_digestbyname("SHA256"), first.Get());
        registration.Replace(second.Get());
        EXPECT_EQ(EVP_get_digestbyname("SHA256"), second.Get());
        throw CPKCS7_ERROR{CPKCS7_ERROR::ERROR_OPENSSL};
    } catch (CPKCS7_ERROR) {
        EXPECT_EQ(test::RegisteredSha256(), registered);
    }
}

TEST(CPKCS7Build, TheOutputIsReplacedAndWhatCannotBeWrittenIsNoticed) {
    const CTempFolder folder;
    const auto input = folder.Write("doc.txt", kContent);
    folder.Write("taken.p7", std::string(100000, 'x'));
    folder.Write("folder.p7/inside", "");
    CPKCS7Build build(CPKCS7_TYPE::SIGN);
    Add(build, TestSigner(EKeyKind::kRsa, "S"));
    EXPECT_EQ(build.Build(Utf16(input), Utf16(folder / "taken.p7")), CPKCS7_ERROR::NONE);
    EXPECT_LT(std::filesystem::file_size(folder / "taken.p7"), 10000u);
    EXPECT_EQ(build.Build(Utf16(input), Utf16(folder / "folder.p7")), CPKCS7_ERROR::NONE);
    EXPECT_FALSE(build.WasWritten());
    // The same request builds again after a failure.
    EXPECT_EQ(build.Build(Utf16(folder / "missing"), CUTF16String()), CPKCS7_ERROR{0x1});
    EXPECT_EQ(build.Build(Utf16(input), CUTF16String()), CPKCS7_ERROR::NONE);
    EXPECT_TRUE(build.WasWritten());
}

TEST(CPKCS7Build, AnInputOf2GiBIsRefusedUnread) {
    const CTempFolder folder;
    const auto input = folder.Write("huge", "");
    std::filesystem::resize_file(input, std::uint64_t{1} << 31);
    CPKCS7Build build(CPKCS7_TYPE::SIGN);
    Add(build, TestSigner(EKeyKind::kRsa, "S"));
    CTraceListener trace;
    EXPECT_EQ(build.Build(Utf16(input), CUTF16String()), CPKCS7_ERROR{0x12});
    EXPECT_THAT(trace.Messages(), ElementsAre("PKCS7 input/output failed"));
}

}  // namespace
}  // namespace tarnwell
