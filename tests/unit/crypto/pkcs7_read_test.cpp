#include <gmock/gmock.h>

#include <chrono>

#include "common/crypto/pkcs7_build.h"
#include "common/crypto/pkcs7_file.h"
#include "common/crypto/pkcs7_request.h"
#include "common/system/text/exception.h"
#include "support/heap_checks.h"
#include "support/temp_folder.h"
#include "support/test_signer.h"
#include "support/trace_listener.h"

namespace tarnwell {
namespace {

using namespace test;
using namespace testing;

constexpr char kDecodeFailed[] = "There was a problem when we tried decoding the data in the file.";

/// The DER of a structure; "" for none.
std::string Der(PKCS7* p7) {
    CUniqueOpenSslBytes bytes;
    const int length = p7 ? i2d_PKCS7(p7, bytes.Put()) : 0;
    return std::string(reinterpret_cast<char*>(bytes.Get()), static_cast<std::size_t>(length));
}

/// A structure parsed from DER by OpenSSL itself; empty where it does not parse.
CUniquePkcs7 Parsed(const std::string& der) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(der.data());
    return CUniquePkcs7(d2i_PKCS7(nullptr, &bytes, static_cast<long>(der.size())));
}

/// The code that a call throws; NONE if it throws none.
template <class Call>
CPKCS7_ERROR Thrown(Call&& call) {
    try {
        call();
    } catch (CPKCS7_ERROR code) {
        return code;
    }
    return CPKCS7_ERROR::NONE;
}

/// What Recover gives. It consumes one reference of the key, which the leak check counts.
CPKCS7_ERROR Recovered(CPKCS7Request& file, const TestSigner* certificate = nullptr,
                       const TestSigner* key = nullptr) {
    return Thrown([&] {
        file->Recover(certificate ? certificate->certificate.Get() : nullptr,
                      key ? Share(key->key.Get()).Release() : nullptr);
    });
}

bool FirstVerifies(CPKCS7Request& file) {
    return file->GetSigners(nullptr, nullptr).Get()->at(0)->verified;
}

TEST(CPKCS7, WhatCannotBeParsedFailsInEveryOperationAndIsReadAgain) {
    const CTempFolder folder;
    const std::string good = SampleBytes("bc-rsa.p7");
    for (const std::uint64_t size : {std::uint64_t{0}, good.size() / 2, std::uint64_t{1} << 31}) {
        const auto path = size < good.size() ? folder.Write("a.txt.p7", good.substr(0, size))
                                             : folder.WriteZeros("a.txt.p7", size);
        CTraceListener trace;
        CPKCS7Request file(Utf16(path));
        constexpr CPKCS7_ERROR kCode{0x402};
        EXPECT_EQ(file->GetType(), CPKCS7_TYPE::UNKNOWN);
        EXPECT_EQ(file->Error(), kCode);
        EXPECT_EQ(Thrown([&] { file->GetSigners(nullptr, nullptr); }), kCode);
        EXPECT_EQ(Thrown([&] { file->GetRecipients(); }), kCode);
        EXPECT_THAT(trace.Lines(), Each("Failed to create PKCS7 from encrypted file"));
        EXPECT_EQ(Recovered(file), kCode);
        EXPECT_EQ(trace.Messages().back(), kDecodeFailed);
        folder.Write("a.txt.p7", good);
        EXPECT_TRUE(file->IsOnlySigned()) << "a failed parse must not stick";
        EXPECT_TRUE(std::filesystem::remove(path)) << "held open";
        EXPECT_TRUE(FirstVerifies(file)) << "read twice";
    }
}

TEST(CPKCS7, AMissingFileIsAnExceptionToReadersAndACodeToRecover) {
    const TestSigner signer(kRsa);
    CPKCS7Request file(CUTF16String(u"missing.p7"));
    EXPECT_THROW(file->GetType(), CException);
    EXPECT_EQ(Recovered(file, nullptr, &signer), CPKCS7_ERROR{0x410});
    EXPECT_EQ(file->Error(), CPKCS7_ERROR{0x410});
}

TEST(CPKCS7, AskedForTheWrongThingItSaysSo) {
    constexpr char kNotSigned[] =
        "Tryied to get signer on a non signed file. check type before using this function";
    CPKCS7Request sealed(Parsed(SampleBytes("hand-env-1.p7m")));
    CPKCS7Request bare(Parsed(SampleBytes("ossl-nocerts.p7")));
    CTraceListener trace;
    EXPECT_EQ(Thrown([&] { sealed->GetSigners(nullptr, nullptr); }), CPKCS7_ERROR{0x55});
    EXPECT_EQ(Thrown([&] { bare->GetSigners(nullptr, nullptr); }), CPKCS7_ERROR{0x52});
    EXPECT_EQ(Thrown([&] { bare->GetRecipients(); }), CPKCS7_ERROR{0x45});
    EXPECT_EQ(bare->Error(), CPKCS7_ERROR{0x45});
    EXPECT_THAT(trace.Messages(),
                ElementsAre(kNotSigned, "Error when trying to get the certificat from the p7 file",
                            "Tryied to get recipient on a non Envelopped file"));
}

// Thirteen octets: the outer structure and a type, nothing else.
TEST(CPKCS7, ATypeWithoutContentIsReadWithoutACrash) {
    for (const char type : {'\x02', '\x03', '\x04'}) {
        const std::string start("\x30\x0B\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x07", 12);
        CPKCS7Request file(Parsed(start + type));
        EXPECT_EQ(file->IsSigned(), type != 3);
        EXPECT_EQ(Thrown([&] { file->GetSigners(nullptr, nullptr); }),
                  CPKCS7_ERROR{type == 3 ? 0x55u : 0u});
        EXPECT_EQ(Thrown([&] { file->GetRecipients(); }), CPKCS7_ERROR{type == 2 ? 0x45u : 0x42u});
        EXPECT_FALSE(file->GetContentDigest());
        EXPECT_EQ(Recovered(file), CPKCS7_ERROR{0x402});
    }
}

TEST(CPKCS7, DigestAlgorithmsCountOnceEachAndAreNotComparedWithoutEnd) {
    const auto withAlgorithms = [](int count, auto&& object) {
        const CUniquePkcs7 p7 = Parsed(SampleBytes("bc-rsa.p7"));
        for (int i = 0; i < count; ++i) {
            X509_ALGOR* algorithm = X509_ALGOR_new();
            X509_ALGOR_set0(algorithm, object(i), V_ASN1_UNDEF, nullptr);
            sk_X509_ALGOR_push(p7.Get()->d.sign->md_algs, algorithm);
        }
        return Parsed(Der(p7.Get()));
    };
    CPKCS7Request repeated(withAlgorithms(
        Size(7200, 200), [](int i) { return OBJ_nid2obj(i % 2 ? NID_sha256 : NID_sha384); }));
    EXPECT_TRUE(FirstVerifies(repeated));
    EXPECT_EQ(sk_X509_ALGOR_num(repeated->GetPKCS7()->d.sign->md_algs), 2);

    CPKCS7Request different(withAlgorithms(Size(100'000, 64), [](int i) {
        return OBJ_txt2obj(("1.3.6.1.4.1.55555." + std::to_string(i)).c_str(), 1);
    }));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(FirstVerifies(different));
    EXPECT_EQ(Recovered(different), CPKCS7_ERROR{0x402});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

// Without signed attributes OpenSSL would take the first digest that it has for an unknown one.
TEST(CPKCS7, ASignerWithAnUnknownDigestIsNotVerified) {
    CPKCS7Request file(Parsed(SampleBytes("ossl-noattr.p7")));
    EXPECT_TRUE(FirstVerifies(file));
    const auto* info = sk_PKCS7_SIGNER_INFO_value(PKCS7_get_signer_info(file->GetPKCS7()), 0);
    X509_ALGOR_set0(info->digest_alg, OBJ_txt2obj("1.3.6.1.4.1.55555", 1), V_ASN1_NULL, nullptr);
    EXPECT_FALSE(FirstVerifies(file));
}

TEST(LoadPkcs7, ATimeWithoutSecondsInsideTheContentIsLeftAlone) {
    std::string bytes = SampleBytes("hand-time-utc-nosec.p7");
    const std::string time("\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x09\x05\x31\x0D\x17\x0B", 15);
    const std::size_t content = bytes.find("\x2A\x86\x48\x86\xF7\x0D\x01\x07\x01") + 13;
    for (const bool isParsed : {true, false}) {
        std::vector<unsigned char> file(bytes.begin(), bytes.end());
        EXPECT_EQ(static_cast<bool>(LoadPkcs7(file)), isParsed);
        bytes.replace(content, time.size(), time);
    }
}

// A file may name one certificate of a megabyte in thousands of signers.
TEST(CPKCS7, ThousandsOfSignersShareACertificateAndAreNotAllVerified) {
    const CUniquePkcs7 p7 = Parsed(SampleBytes("bc-rsa.p7"));
    STACK_OF(PKCS7_SIGNER_INFO)* infos = PKCS7_get_signer_info(p7.Get());
    const int more = Size(1000, 1);
    for (int i = 0; i < more; ++i)
        sk_PKCS7_SIGNER_INFO_push(infos, sk_PKCS7_SIGNER_INFO_value(infos, 0));
    const std::string der = Der(p7.Get());
    std::vector<unsigned char> bytes(der.begin(), der.end());
    CPKCS7Request file(LoadPkcs7(bytes));
    while (sk_PKCS7_SIGNER_INFO_num(infos) > 1)
        sk_PKCS7_SIGNER_INFO_pop(infos);
    const CUniqueSignerList signers = file->GetSigners(nullptr, nullptr);
    ASSERT_EQ(signers.Get()->size(), static_cast<std::size_t>(more) + 1);
    EXPECT_EQ(signers.Get()->front()->certificate, signers.Get()->back()->certificate);
    // A certificate of nobody's could have a key that takes long to decode.
    EXPECT_EQ(X509_get0_pubkey(sk_X509_value(file->GetPKCS7()->d.sign->cert, 0)), nullptr);
    EXPECT_NE(X509_get0_pubkey(signers.Get()->back()->certificate), nullptr);
    EXPECT_TRUE(signers.Get()->rbegin()[1]->verified);
    EXPECT_EQ(signers.Get()->back()->verified, more < 1000);
}

TEST(CPKCS7, WithoutARequestTheCertificatesAreTheCallers) {
    const CTempFolder folder;
    CPKCS7 file(Utf16(folder.Write("a.p7", SampleBytes("bc-rsa.p7"))));
    const CUniquePkcs7 parsed(file.GetPKCS7());
    CUniqueSignerList signers = file.GetSigners(nullptr, nullptr);
    const CUniqueX509 certificate(signers.Get()->front()->certificate);
    signers.Reset();
    EXPECT_NE(X509_get0_pubkey(certificate.Get()), nullptr) << "must outlive the list";
}

TEST(LoadPkcs7, ALargeFileIsJudgedInPiecesAsOpenSslJudgesItWhole) {
    const CTempFolder folder;
    const TestSigner signer(kRsa);
    CPKCS7Build build(CPKCS7_TYPE::SIGN);
    build.AddSigner(signer.certificate.Get(), signer.key.Get(), EVP_sha256());
    build.Build(Utf16(folder.Write("large", std::string(1200000, '~'))), CUTF16String());
    const std::string good = ReadBytes(folder / "large.p7");
    const std::size_t offset = good.find("~~~~");
    const auto isJudgedAlike = [&](const std::string& file) {
        const CUniquePkcs7 pieces = LoadPkcs7(Utf16(folder.Write("file.p7", file)));
        return Der(pieces.Get()) == Der(Parsed(file).Get());
    };
    EXPECT_TRUE(isJudgedAlike(good + "trailing bytes are ignored"));
    EXPECT_TRUE(isJudgedAlike(SampleBytes("hand-all-indefinite.p7") + std::string(1500000, '\0')));
    for (const std::size_t length : {offset + 1199999, offset + 1200001, good.size() - 1})
        EXPECT_TRUE(isJudgedAlike(good.substr(0, length))) << length;
    const std::span bytes(reinterpret_cast<const unsigned char*>(good.data()), good.size());
    for (std::size_t at = 0; at < offset; at += Size<std::size_t>(1, 9)) {
        std::string bad = good;
        bad[at] = static_cast<char>(bad[at] ^ (at % 2 ? '\x80' : '\x01'));
        EXPECT_TRUE(isJudgedAlike(bad)) << "octet " << at;
        EXPECT_FALSE(FindContent(bytes.first(at), good.size())) << at;
    }
    EXPECT_EQ(FindContent(bytes, good.size())->length, 1200000u);
}

TEST(CPKCS7_Recover, WritesToThePathBeforeItsLastDotAndReplacesWhatIsThere) {
    const CTempFolder folder;
    const std::string sample = SampleBytes("hand-content-513.p7");
    for (const std::string target : {"a.b", "żółw é, 2.txt"}) {
        folder.Write(target, std::string(5000, 'x'));
        CPKCS7Request file(Utf16(folder.Write(target + ".p7", sample)));
        EXPECT_EQ(Recovered(file), CPKCS7_ERROR::NONE);
        EXPECT_TRUE(file->WasWritten());
        EXPECT_EQ(std::filesystem::file_size(folder / target), 513u) << target;
    }
    CPKCS7Request bare(Utf16(folder.Write("bare", sample)));
    EXPECT_EQ(Recovered(bare), CPKCS7_ERROR::NONE);
    EXPECT_FALSE(bare->WasWritten());
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 5);
}

TEST(CPKCS7_Recover, ADetachedSignatureNeverEmptiesTheFileItSigns) {
    const CTempFolder folder;
    folder.Write("a.txt", "what was signed");
    CPKCS7Request guarded(Utf16(folder.Write("a.txt.p7", SampleBytes("ossl-detached.p7"))));
    CPKCS7Request alone(Utf16(folder.Write("b.txt.p7", SampleBytes("ossl-detached.p7"))));
    EXPECT_EQ(Recovered(guarded), CPKCS7_ERROR::NONE);
    EXPECT_EQ(Recovered(alone), CPKCS7_ERROR::NONE);
    EXPECT_EQ(ReadBytes(folder / "a.txt"), "what was signed");
    EXPECT_EQ(ReadBytes(folder / "b.txt"), "");
}

TEST(CPKCS7_Recover, OnlyTheRecipientsKeyOpensAnEncryptedFile) {
    const CTempFolder folder;
    const TestSigner recipient(kRsa);
    const TestSigner stranger(kOtherRsa);
    const std::string good = SampleBytes("hand-env-1.p7m");
    std::string damaged = good;
    damaged.back() = static_cast<char>(damaged.back() ^ 0x55);  // in the padded last block
    const struct {
        std::string bytes;
        const TestSigner* certificate;
        const TestSigner* key;
    } rows[] = {
        {good, &stranger, &stranger},
        {good, &recipient, &stranger},
        {good, nullptr, nullptr},
        {damaged, &recipient, &recipient},
        {SampleBytes("hand-env-norecip.p7m"), nullptr, &recipient},
        {SampleBytes("hand-env-norecip.p7m"), nullptr, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        CPKCS7Request file(Utf16(folder.Write("a.txt.p7m", row.bytes)));
        CTraceListener trace;
        EXPECT_EQ(Recovered(file, row.certificate, row.key), CPKCS7_ERROR{0x402});
        // Refused before anything is read, but for the damage, which only the end shows.
        EXPECT_THAT(trace.Lines(), SizeIs(3));
        EXPECT_EQ(trace.Lines().at(row.bytes == damaged ? 2 : 1), kDecodeFailed);
        EXPECT_FALSE(std::filesystem::exists(folder / "a.txt")) << "noise was written";
    }
    CPKCS7Request file(Utf16(folder.Write("a.txt.p7m", good)));
    EXPECT_EQ(file->GetRecipients().size(), 1u);
    EXPECT_EQ(Recovered(file, &recipient, &recipient), CPKCS7_ERROR::NONE);
    EXPECT_EQ(ReadBytes(folder / "a.txt"), "Orchard: hand-made content.\n");
}

}  // namespace
}  // namespace tarnwell
