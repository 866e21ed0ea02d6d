#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/pem.h>

#include "common/crypto/pkcs7_build.h"
#include "common/crypto/pkcs7_request.h"
#include "support/temp_folder.h"
#include "support/test_paths.h"
#include "support/trace_listener.h"
#include "test_signer.h"

namespace tarnwell {
namespace {

using test::CTempFolder;
using test::CTraceListener;
using test::EKeyKind;
using test::ReadBytes;
using test::TestSigner;
using test::Utf16;
using testing::ElementsAre;

constexpr char kDecodeFailed[] = "There was a problem when we tried decoding the data in the file.";

std::string CorpusBytes(const std::string& name) {
    return ReadBytes(test::TestDataPath("corpus/" + name));
}

/// A recipient's certificate and key of the corpus.
struct Recipient {
    explicit Recipient(const std::string& name) {
        const std::string pem = CorpusBytes("keys/" + name + ".pem");
        const CUniqueBio first(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
        const CUniqueBio second(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
        certificate.Reset(PEM_read_bio_X509(first.Get(), nullptr, nullptr, nullptr));
        key.Reset(PEM_read_bio_PrivateKey(second.Get(), nullptr, nullptr, nullptr));
    }
    CUniqueX509 certificate;
    CUniqueKey key;
};

CPKCS7_ERROR Recovered(CPKCS7Request& file, X509* certificate, EVP_PKEY* key) {
    try {
        return file->Recover(certificate, key);
    } catch (CPKCS7_ERROR code) {
        EXPECT_EQ(file->Error(), code);
        return code;
    }
}

TEST(CPKCS7_Recover, WritesToThePathBeforeItsLastDot) {
    const struct {
        const char* file;
        const char* target;  ///< null: nothing is written
    } rows[] = {
        {"report.pdf.p7m", "report.pdf"},
        {"a.b.p7", "a.b"},
        {"signed.p7", "signed"},
        {"noextension", nullptr},
        {"żółw é, 2.txt.p7", "żółw é, 2.txt"},
    };
    for (const auto& row : rows) {
        const CTempFolder folder;
        // The folder's own name must hold no dot for the row without an extension.
        ASSERT_EQ(folder.Path().string().find('.'), std::string::npos);
        const auto path = folder.Write(row.file, CorpusBytes("hand-content-513.p7"));
        CPKCS7Request file(Utf16(path));
        EXPECT_EQ(Recovered(file, nullptr, nullptr), CPKCS7_ERROR::NONE) << row.file;
        EXPECT_EQ(file->WasWritten(), row.target != nullptr) << row.file;
        if (row.target) {
            EXPECT_EQ(ReadBytes(folder / row.target).size(), 513u) << row.file;
        }
        const auto files = std::distance(std::filesystem::directory_iterator(folder.Path()), {});
        EXPECT_EQ(files, row.target ? 2 : 1) << row.file;
    }
}

TEST(CPKCS7_Recover, WithTheOnlyDotFirstNothingIsWritten) {
    // The path is relative, so that its first character can be the dot.
    const CTempFolder folder;
    const auto before = std::filesystem::current_path();
    folder.Write(".p7", CorpusBytes("bc-rsa.p7"));
    std::filesystem::current_path(folder.Path());
    CPKCS7Request file(CUTF16String(u".p7"));
    EXPECT_EQ(Recovered(file, nullptr, nullptr), CPKCS7_ERROR::NONE);
    EXPECT_FALSE(file->WasWritten());
    std::filesystem::current_path(before);
}

TEST(CPKCS7_Recover, AnExistingFileIsReplacedWhole) {
    const CTempFolder folder;
    folder.Write("a.txt", std::string(5000, 'x'));
    CPKCS7Request file(Utf16(folder.Write("a.txt.p7", CorpusBytes("hand-content-513.p7"))));
    EXPECT_EQ(Recovered(file, nullptr, nullptr), CPKCS7_ERROR::NONE);
    EXPECT_EQ(ReadBytes(folder / "a.txt").size(), 513u);
}

TEST(CPKCS7_Recover, ATargetThatCannotBeWrittenGoesUnreportedButNotUnnoticed) {
    const CTempFolder folder;
    folder.Write("a.txt/inside", "a folder stands in the way");
    CPKCS7Request file(Utf16(folder.Write("a.txt.p7", CorpusBytes("bc-rsa.p7"))));
    EXPECT_EQ(Recovered(file, nullptr, nullptr), CPKCS7_ERROR::NONE);
    EXPECT_FALSE(file->WasWritten());
}

TEST(CPKCS7_Recover, ADetachedSignatureNeverEmptiesTheFileItSigns) {
    const CTempFolder folder;
    folder.Write("a.txt", "what was signed");
    CPKCS7Request file(Utf16(folder.Write("a.txt.p7", CorpusBytes("ossl-detached.p7"))));
    EXPECT_EQ(Recovered(file, nullptr, nullptr), CPKCS7_ERROR::NONE);
    EXPECT_EQ(ReadBytes(folder / "a.txt"), "what was signed");

    CPKCS7Request alone(Utf16(folder.Write("b.txt.p7", CorpusBytes("ossl-detached.p7"))));
    EXPECT_EQ(Recovered(alone, nullptr, nullptr), CPKCS7_ERROR::NONE);
    EXPECT_EQ(ReadBytes(folder / "b.txt"), "");
}

TEST(CPKCS7_Recover, AMissingFileIs0x410) {
    const CTempFolder folder;
    CPKCS7Request file(Utf16(folder / "missing.txt.p7"));
    EXPECT_EQ(Recovered(file, nullptr, nullptr), CPKCS7_ERROR{0x410});
    EXPECT_EQ(file->Error(), CPKCS7_ERROR{0x410});
}

TEST(CPKCS7_Recover, OpensForeignEncryptedFilesWithTheRecipientsKey) {
    const Recipient recipient("r1");
    const Recipient stranger("r2");
    for (const char* name : {"swan-env.p7m", "gpgsm-enc.p7m", "bc-env-3des.p7m", "forge-env.p7m",
                             "capi-sae-1x1.p7m", "hand-env-1.p7m"}) {
        const std::string bytes = CorpusBytes(name);
        const CTempFolder folder;
        const auto path = folder.Write("a.txt.p7m", bytes);
        CPKCS7Request file(Utf16(path));
        EXPECT_EQ(
            Recovered(file, recipient.certificate.Get(), Share(recipient.key.Get()).Release()),
            CPKCS7_ERROR::NONE)
            << name;
        const std::string content = ReadBytes(folder / "a.txt");
        EXPECT_FALSE(content.empty()) << name;

        // Whoever has another certificate, or the right one with another key, gets nothing.
        CTraceListener trace;
        for (X509* certificate : {stranger.certificate.Get(), recipient.certificate.Get()}) {
            EXPECT_EQ(Recovered(file, certificate, Share(stranger.key.Get()).Release()),
                      CPKCS7_ERROR{0x402})
                << name;
        }
        EXPECT_THAT(trace.Messages(), ElementsAre(kDecodeFailed, kDecodeFailed)) << name;
        EXPECT_EQ(ReadBytes(folder / "a.txt"), content) << name << ": noise was written";
    }
}

TEST(CPKCS7_Recover, AKeyThatIsNotTheCertificatesIsRefusedBeforeAnythingIsRead) {
    const Recipient recipient("r1");
    const Recipient stranger("r2");
    const CTempFolder folder;
    CPKCS7Request file(Utf16(folder.Write("a.txt.p7m", CorpusBytes("hand-env-1.p7m"))));
    EXPECT_THROW(
        file->Build_recover(recipient.certificate.Get(), Share(stranger.key.Get()).Release()),
        CPKCS7_ERROR);
    EXPECT_NO_THROW(
        file->Build_recover(recipient.certificate.Get(), Share(recipient.key.Get()).Release()));
}

TEST(CPKCS7_Recover, ADamagedContentIsNotWritten) {
    const Recipient recipient("r1");
    std::string bytes = CorpusBytes("hand-env-1.p7m");
    ASSERT_GT(bytes.size(), 100u);
    bytes.back() = static_cast<char>(bytes.back() ^ 0x55);  // in the last block, which is padded
    const CTempFolder folder;
    CPKCS7Request file(Utf16(folder.Write("a.txt.p7m", bytes)));
    EXPECT_EQ(Recovered(file, recipient.certificate.Get(), Share(recipient.key.Get()).Release()),
              CPKCS7_ERROR{0x402});
    EXPECT_FALSE(std::filesystem::exists(folder / "a.txt"));
}

TEST(CPKCS7_Recover, WithoutRecipientsThereIsNothingToDecrypt) {
    const Recipient recipient("r1");
    const CTempFolder folder;
    const auto path = folder.Write("a.txt.p7m", CorpusBytes("hand-env-norecip.p7m"));
    for (const bool withKey : {false, true}) {
        CTraceListener trace;
        CPKCS7Request file(Utf16(path));
        EVP_PKEY* key = withKey ? Share(recipient.key.Get()).Release() : nullptr;
        EXPECT_EQ(Recovered(file, nullptr, key), CPKCS7_ERROR{0x402});
        EXPECT_THAT(trace.Lines(), ElementsAre("enter CPKCS7::Build_recover", kDecodeFailed,
                                               "leave CPKCS7::Build_recover"));
        EXPECT_FALSE(std::filesystem::exists(folder / "a.txt"));
    }
}

TEST(CPKCS7_Recover, TheKeyIsConsumedOnEveryWayOut) {
    // One reference a call: the leak check of the memory-checked build counts them, and a second
    // release would be a use after free.
    TestSigner signer(EKeyKind::kRsa, "Signer");
    const CTempFolder folder;
    for (const char* name : {"bc-rsa.p7", "hand-env-1.p7m", "capi-data.p7", "nonp7-empty.p7"}) {
        CPKCS7Request file(Utf16(folder.Write("a.txt.p7", CorpusBytes(name))));
        Recovered(file, signer.certificate.Get(), EVP_PKEY_dup(signer.key.Get()));
    }
    CPKCS7Request missing(Utf16(folder / "missing.p7"));
    Recovered(missing, signer.certificate.Get(), EVP_PKEY_dup(signer.key.Get()));
}

TEST(CPKCS7_Recover, AFailedContainerReadsTheFileAnew) {
    const CTempFolder folder;
    const auto path = folder.Write("a.txt.p7", CorpusBytes("hand-env-1.p7m"));
    CPKCS7Request file(Utf16(path));
    EXPECT_EQ(Recovered(file, nullptr, nullptr), CPKCS7_ERROR{0x402});
    EXPECT_TRUE(file->IsOnlyEnveloped());
    EXPECT_EQ(file->GetRecipients().size(), 1u);
}

TEST(CPKCS7, TheContentsDigestIsTheSameWithAndWithoutReadingTheSigners) {
    for (const char* name : {"bc-rsa.p7", "bc-three.p7", "ossl-noattr.p7", "hand-content-513.p7",
                             "hand-inner-signeddata-pkcs7.p7", "bc-timestamp-token.p7",
                             "hand-zero-content-constructed.p7"}) {
        const CUTF16String path =
            Utf16(std::filesystem::path(test::TestDataPath(std::string("corpus/") + name)));
        CPKCS7Request once(path);
        CPKCS7Request twice(path);
        twice->GetSigners(nullptr, nullptr);
        const auto direct = once->GetContentDigest();
        const auto onTheWay = twice->GetContentDigest();
        ASSERT_EQ(direct.has_value(), onTheWay.has_value()) << name;
        if (direct) {
            EXPECT_EQ(direct->size, onTheWay->size) << name;
            EXPECT_EQ(direct->sha256, onTheWay->sha256) << name;
        }
    }
}

}  // namespace
}  // namespace tarnwell
