#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "common/crypto/pkcs7_request.h"
#include "common/system/text/exception.h"
#include "support/heap_checks.h"
#include "support/temp_folder.h"
#include "support/test_paths.h"
#include "support/trace_listener.h"
#include "test_signer.h"

namespace tarnwell {
namespace {

using test::CTempFolder;
using test::CTraceListener;
using test::EKeyKind;
using test::TestSigner;
using test::Utf16;
using testing::ElementsAre;

constexpr char kParseFailed[] = "Failed to create PKCS7 from encrypted file";

CUTF16String Corpus(const std::string& name) {
    return Utf16(std::filesystem::path(test::TestDataPath("corpus/" + name)));
}
std::string CorpusBytes(const std::string& name) {
    return test::ReadBytes(test::TestDataPath("corpus/" + name));
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

TEST(CPKCS7, TellsWhatAFileIs) {
    const struct {
        const char* file;
        CPKCS7_TYPE type;
        bool isSigned, isEnveloped;
    } rows[] = {
        {"bc-rsa.p7", CPKCS7_TYPE::SIGN, true, false},
        {"hand-env-1.p7m", CPKCS7_TYPE::ENCRYPT, false, true},
        {"capi-sae-1x1.p7m", CPKCS7_TYPE::SIGNENCRYPT, true, true},
        {"capi-data.p7", CPKCS7_TYPE::UNKNOWN, false, false},
        {"capi-digest.p7", CPKCS7_TYPE::UNKNOWN, false, false},
        {"hand-type-encrypted.p7", CPKCS7_TYPE::UNKNOWN, false, false},
    };
    for (const auto& row : rows) {
        CPKCS7Request file(Corpus(row.file));
        EXPECT_EQ(file->GetType(), row.type) << row.file;
        EXPECT_EQ(file->Error(), CPKCS7_ERROR::NONE) << row.file;
        EXPECT_EQ(file->IsSigned(), row.isSigned) << row.file;
        EXPECT_EQ(file->IsEnveloped(), row.isEnveloped) << row.file;
        EXPECT_EQ(file->IsOnlySigned(), row.isSigned && !row.isEnveloped) << row.file;
        EXPECT_EQ(file->IsOnlyEnveloped(), row.isEnveloped && !row.isSigned) << row.file;
        EXPECT_EQ(file->IsSignedAndEnveloped(), row.isSigned && row.isEnveloped) << row.file;
    }
}

TEST(CPKCS7, WhatIsNoDerPkcs7FailsInEveryOperationAndIsReadAgain) {
    const CTempFolder folder;
    const std::string good = CorpusBytes("bc-rsa.p7");
    const std::string bad[] = {"", "x", good.substr(0, good.size() / 2),
                               "-----BEGIN PKCS7-----\nMIIB\n-----END PKCS7-----\n",
                               std::string(1000, '\0')};
    for (const std::string& bytes : bad) {
        const auto path = folder.Write("bad.p7", bytes);
        CTraceListener trace;
        CPKCS7Request file(Utf16(path));
        const auto code = CPKCS7_ERROR{0x402};
        EXPECT_EQ(file->GetType(), CPKCS7_TYPE::UNKNOWN);
        EXPECT_EQ(file->Error(), code);
        EXPECT_EQ(Thrown([&] { file->IsSigned(); }), code);
        EXPECT_EQ(Thrown([&] { file->GetSigners(nullptr, nullptr); }), code);
        EXPECT_EQ(Thrown([&] { file->GetRecipients(); }), code);
        EXPECT_EQ(Thrown([&] { file->GetContentDigest(); }), code);
        EXPECT_EQ(trace.Count(kParseFailed), 5u);
        EXPECT_EQ(trace.Lines().size(), 5u);
        EXPECT_EQ(Thrown([&] { file->Recover(nullptr, nullptr); }), code);
        EXPECT_EQ(trace.Messages().back(),
                  "There was a problem when we tried decoding the data in the file.");

        folder.Write("bad.p7", good);
        EXPECT_EQ(file->GetType(), CPKCS7_TYPE::SIGN) << "a failed parse must not stick";
    }
}

TEST(CPKCS7, AMissingFileIsTheFoundationsException) {
    const CTempFolder folder;
    const CUTF16String path = Utf16(folder / "missing.p7");
    CTraceListener trace;
    CPKCS7Request file(path);
    const auto message = [](auto&& call) {
        try {
            call();
            return std::string();
        } catch (const CException& error) {
            return std::string(error.what());
        }
    };
    const std::string expected = "reading '" + (folder / "missing.p7").string() + "' failed!";
    EXPECT_EQ(message([&] { file->GetType(); }), expected);
    EXPECT_EQ(message([&] { file->IsOnlySigned(); }), expected);
    EXPECT_EQ(message([&] { file->GetSigners(nullptr, nullptr); }), expected);
    EXPECT_EQ(message([&] { file->Build_recover(nullptr, nullptr); }), expected);
    EXPECT_THAT(trace.Messages(), ElementsAre());
}

TEST(CPKCS7, AFileOf2GiBIsAParseFailureWithoutBeingRead) {
    const CTempFolder folder;
    const auto path = folder.Write("huge.p7", "");
    std::filesystem::resize_file(path, std::uint64_t{1} << 31);
    const auto start = std::chrono::steady_clock::now();
    CPKCS7Request file(Utf16(path));
    EXPECT_EQ(file->GetType(), CPKCS7_TYPE::UNKNOWN);
    EXPECT_EQ(file->Error(), CPKCS7_ERROR{0x402});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST(CPKCS7, TheFileIsReadOnceAndNotHeldOpen) {
    const CTempFolder folder;
    const auto path = folder.Write("signed.p7", CorpusBytes("bc-rsa.p7"));
    CPKCS7Request file(Utf16(path));
    EXPECT_TRUE(file->IsOnlySigned());
    EXPECT_TRUE(std::filesystem::remove(path));
    EXPECT_EQ(file->GetSigners(nullptr, nullptr).Get()->size(), 1u);
}

TEST(CPKCS7, AskedForTheWrongThingItSaysSo) {
    const struct {
        const char* file;
        const char* message;
        CPKCS7_ERROR code;
        bool asksSigners;
    } rows[] = {
        {"hand-env-1.p7m",
         "Tryied to get signer on a non signed file. check type before using this function",
         CPKCS7_ERROR{0x55}, true},
        {"capi-digest.p7",
         "Tryied to get signer on a non signed file. check type before using this function",
         CPKCS7_ERROR{0x55}, true},
        {"ossl-nocerts.p7", "Error when trying to get the certificat from the p7 file",
         CPKCS7_ERROR{0x52}, true},
        {"bc-rsa.p7", "Tryied to get recipient on a non Envelopped file", CPKCS7_ERROR{0x45},
         false},
    };
    for (const auto& row : rows) {
        CTraceListener trace;
        CPKCS7Request file(Corpus(row.file));
        const CPKCS7_ERROR code = Thrown([&] {
            if (row.asksSigners)
                file->GetSigners(nullptr, nullptr);
            else
                file->GetRecipients();
        });
        EXPECT_EQ(code, row.code) << row.file;
        EXPECT_EQ(file->Error(), row.code) << row.file;
        EXPECT_THAT(trace.Messages(), ElementsAre(row.message)) << row.file;
    }
}

TEST(CPKCS7, SignersOfAnEncryptedFileNeedTheRecipientsKey) {
    TestSigner signer(EKeyKind::kRsa, "Both");
    CUniquePkcs7 p7(PKCS7_new());
    PKCS7_set_type(p7.Get(), NID_pkcs7_signedAndEnveloped);
    PKCS7_set_cipher(p7.Get(), EVP_des_ede3_cbc());
    PKCS7_add_recipient(p7.Get(), signer.certificate.Get());
    PKCS7_add_signature(p7.Get(), signer.certificate.Get(), signer.key.Get(), EVP_sha256());
    PKCS7_add_certificate(p7.Get(), signer.certificate.Get());
    {
        const CUniqueBio content(PKCS7_dataInit(p7.Get(), nullptr));
        BIO_write(content.Get(), "secret", 6);
        BIO_flush(content.Get());
        ASSERT_GT(PKCS7_dataFinal(p7.Get(), content.Get()), 0);
    }
    CPKCS7Request file(test::Parsed(test::Der(p7.Get())));
    const CUniqueSignerList without = file->GetSigners(nullptr, nullptr);
    ASSERT_EQ(without.Get()->size(), 1u);
    EXPECT_FALSE(without.Get()->front()->verified);
    EXPECT_EQ(test::Label(*without.Get()->front()), "Both");
    const CUniqueSignerList with = file->GetSigners(signer.certificate.Get(), signer.key.Get());
    EXPECT_TRUE(with.Get()->front()->verified);
    EXPECT_EQ(file->GetRecipients().size(), 1u);
}

// Thirteen octets: the outer structure and a type, nothing else.
TEST(CPKCS7, ATypeWithoutContentIsReadWithoutACrash) {
    for (const char type : {'\x02', '\x03', '\x04'}) {
        const std::string der =
            std::string("\x30\x0B\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x07", 12) + type;
        CUniquePkcs7 p7 = test::Parsed(der);
        ASSERT_TRUE(p7);
        CPKCS7Request file(std::move(p7));
        EXPECT_EQ(file->IsSigned(), type != 3);
        if (type != 3) {
            EXPECT_TRUE(file->GetSigners(nullptr, nullptr).Get()->empty());
        }
        if (type != 2) {
            EXPECT_EQ(Thrown([&] { file->GetRecipients(); }), CPKCS7_ERROR{0x42});
        }
        EXPECT_FALSE(file->GetContentDigest());
        EXPECT_EQ(Thrown([&] { file->Recover(nullptr, nullptr); }), CPKCS7_ERROR{0x402});
        EXPECT_EQ(file->Error(), CPKCS7_ERROR{0x402});
    }
}

/// A good signed structure to damage.
struct SignedStructure {
    SignedStructure() : signer(EKeyKind::kRsa, "Signer"), p7(PKCS7_new()) {
        PKCS7_set_type(p7.Get(), NID_pkcs7_signed);
        PKCS7_content_new(p7.Get(), NID_pkcs7_data);
        PKCS7_SIGNER_INFO* info =
            PKCS7_add_signature(p7.Get(), signer.certificate.Get(), signer.key.Get(), EVP_sha256());
        PKCS7_add_attrib_content_type(info, nullptr);
        PKCS7_add_certificate(p7.Get(), signer.certificate.Get());
        const CUniqueBio content(PKCS7_dataInit(p7.Get(), nullptr));
        BIO_write(content.Get(), "content", 7);
        PKCS7_dataFinal(p7.Get(), content.Get());
    }
    PKCS7_SIGNER_INFO* Info() const {
        return sk_PKCS7_SIGNER_INFO_value(PKCS7_get_signer_info(p7.Get()), 0);
    }
    TestSigner signer;
    CUniquePkcs7 p7;
};

TEST(CPKCS7, ADigestAlgorithmRepeated7200TimesCostsNothing) {
    SignedStructure structure;
    const int repetitions = test::Size(7200, 200);
    for (int i = 0; i < repetitions; ++i) {
        X509_ALGOR* algorithm = X509_ALGOR_new();
        X509_ALGOR_set_md(algorithm, i % 2 ? EVP_sha256() : EVP_sha384());
        sk_X509_ALGOR_push(structure.p7.Get()->d.sign->md_algs, algorithm);
    }
    const auto start = std::chrono::steady_clock::now();
    CPKCS7Request file(test::Parsed(test::Der(structure.p7.Get())));
    const CUniqueSignerList signers = file->GetSigners(nullptr, nullptr);
    ASSERT_EQ(signers.Get()->size(), 1u);
    EXPECT_TRUE(signers.Get()->front()->verified);
    EXPECT_EQ(sk_X509_ALGOR_num(file->GetPKCS7()->d.sign->md_algs), 2);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST(CPKCS7, TooManyDifferentDigestAlgorithmsAreAFailureOfTheDecoding) {
    SignedStructure structure;
    for (int i = 0; i < 64; ++i) {
        X509_ALGOR* algorithm = X509_ALGOR_new();
        const std::string oid = "1.3.6.1.4.1.55555." + std::to_string(i);
        X509_ALGOR_set0(algorithm, OBJ_txt2obj(oid.c_str(), 1), V_ASN1_UNDEF, nullptr);
        sk_X509_ALGOR_push(structure.p7.Get()->d.sign->md_algs, algorithm);
    }
    CPKCS7Request file(test::Parsed(test::Der(structure.p7.Get())));
    EXPECT_FALSE(file->GetSigners(nullptr, nullptr).Get()->front()->verified);
    EXPECT_EQ(Thrown([&] { file->Build_recover(nullptr, nullptr); }), CPKCS7_ERROR{0x402});
}

TEST(CPKCS7, ASigningTimeThatIsAbsentOrEmptyOrNoUtcTimeIsNone) {
    const struct {
        const char* name;
        int type;
        bool empty;
    } rows[] = {
        {"absent", 0, false},
        {"without a value", 0, true},
        {"a GeneralizedTime", V_ASN1_GENERALIZEDTIME, false},
        {"a number", V_ASN1_INTEGER, false},
    };
    for (const auto& row : rows) {
        SignedStructure structure;
        STACK_OF(X509_ATTRIBUTE)* attributes = structure.Info()->auth_attr;
        X509_ATTRIBUTE_free(X509at_delete_attr(
            attributes, X509at_get_attr_by_NID(attributes, NID_pkcs9_signingTime, -1)));
        if (row.empty) {
            X509_ATTRIBUTE* attribute = X509_ATTRIBUTE_new();
            X509_ATTRIBUTE_set1_object(attribute, OBJ_nid2obj(NID_pkcs9_signingTime));
            sk_X509_ATTRIBUTE_push(attributes, attribute);
        } else if (row.type == V_ASN1_INTEGER) {
            const unsigned char one = 1;
            X509at_add1_attr_by_NID(&attributes, NID_pkcs9_signingTime, V_ASN1_INTEGER, &one, 1);
        } else if (row.type) {
            const unsigned char text[] = "20240102030405Z";
            X509at_add1_attr_by_NID(&attributes, NID_pkcs9_signingTime, row.type, text, 15);
        }
        CPKCS7Request file(test::Parsed(test::Der(structure.p7.Get())));
        const CUniqueSignerList signers = file->GetSigners(nullptr, nullptr);
        ASSERT_EQ(signers.Get()->size(), 1u) << row.name;
        EXPECT_EQ(signers.Get()->front()->signingTime, nullptr) << row.name;
    }
}

TEST(CPKCS7, ASignerWithAnUnknownDigestIsNotVerified) {
    SignedStructure structure;
    // Without signed attributes, where OpenSSL would take the first digest that it has for it.
    CUniquePkcs7 p7(PKCS7_new());
    PKCS7_set_type(p7.Get(), NID_pkcs7_signed);
    PKCS7_content_new(p7.Get(), NID_pkcs7_data);
    PKCS7_SIGNER_INFO* info = PKCS7_add_signature(p7.Get(), structure.signer.certificate.Get(),
                                                  structure.signer.key.Get(), EVP_sha256());
    PKCS7_add_certificate(p7.Get(), structure.signer.certificate.Get());
    {
        const CUniqueBio content(PKCS7_dataInit(p7.Get(), nullptr));
        BIO_write(content.Get(), "content", 7);
        ASSERT_GT(PKCS7_dataFinal(p7.Get(), content.Get()), 0);
    }
    CPKCS7Request good(test::Parsed(test::Der(p7.Get())));
    EXPECT_TRUE(good->GetSigners(nullptr, nullptr).Get()->front()->verified);
    X509_ALGOR_set0(info->digest_alg, OBJ_txt2obj("1.3.6.1.4.1.55555.1", 1), V_ASN1_NULL, nullptr);
    CPKCS7Request bad(test::Parsed(test::Der(p7.Get())));
    EXPECT_FALSE(bad->GetSigners(nullptr, nullptr).Get()->front()->verified);
}

TEST(CPKCS7, ASigningTimeWithoutSecondsIsReadOnlyWhereItIsOne) {
    const CTempFolder folder;
    std::string bytes = CorpusBytes("hand-time-utc-nosec.p7");
    CPKCS7Request file(Utf16(folder.Write("a.p7", bytes)));
    const CUniqueSignerList signers = file->GetSigners(nullptr, nullptr);
    EXPECT_TRUE(signers.Get()->front()->verified);
    EXPECT_EQ(ASN1_STRING_type(signers.Get()->front()->signingTime), V_ASN1_UTCTIME);

    // The same octets once more, inside the content: nothing may be changed there.
    const std::string attribute("\x06\x09\x2A\x86\x48\x86\xF7\x0D\x01\x09\x05\x31\x0D\x17\x0B", 15);
    const std::string digest("\x06\x09\x60\x86\x48\x01\x65\x03\x04\x02\x01", 11);
    const std::size_t content = bytes.find("\x2A\x86\x48\x86\xF7\x0D\x01\x07\x01");
    ASSERT_NE(content, std::string::npos);
    ASSERT_NE(bytes.find(attribute), std::string::npos);
    bytes.replace(content + 13, attribute.size(), attribute);
    CPKCS7Request changed(Utf16(folder.Write("b.p7", bytes)));
    EXPECT_EQ(changed->GetType(), CPKCS7_TYPE::UNKNOWN);
}

TEST(CPKCS7, RecipientsAreListedInHexadecimal) {
    CPKCS7Request one(Corpus("hand-env-1.p7m"));
    const std::vector<CISOString> recipients = one->GetRecipients();
    ASSERT_EQ(recipients.size(), 1u);
    EXPECT_TRUE(recipients[0].StartsWith("305E3046310B3009060355040613025858"));
    CPKCS7Request none(Corpus("hand-env-norecip.p7m"));
    EXPECT_TRUE(none->GetRecipients().empty());
}

TEST(CPKCS7, WithoutARequestTheCertificatesAreTheCallers) {
    CPKCS7 file(Corpus("bc-rsa.p7"));
    CUniquePkcs7 parsed(file.GetPKCS7());
    CUniqueSignerList signers = file.GetSigners(nullptr, nullptr);
    CUniqueX509 certificate(signers.Get()->front()->certificate);
    signers.Reset();
    EXPECT_NE(X509_get0_pubkey(certificate.Get()), nullptr) << "must outlive the list";
}

}  // namespace
}  // namespace tarnwell
