#include "common/crypto/pkcs7_file.h"

#include <gtest/gtest.h>

#include "common/crypto/pkcs7_build.h"
#include "common/crypto/pkcs7_request.h"
#include "support/heap_checks.h"
#include "support/temp_folder.h"
#include "support/test_paths.h"
#include "test_signer.h"

namespace tarnwell {
namespace {

using test::CTempFolder;
using test::EKeyKind;
using test::ReadBytes;
using test::TestSigner;
using test::Utf16;

std::span<const unsigned char> Bytes(const std::string& text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

/// A signed file with a content that is read in pieces.
std::string LargeSigned(const CTempFolder& folder) {
    std::string content;
    while (content.size() < 1200000)
        content += "line " + std::to_string(content.size()) + "\n";
    const TestSigner signer(EKeyKind::kRsa, "Signer");
    CPKCS7Build build(CPKCS7_TYPE::SIGN);
    build.AddSigner(signer.certificate.Get(), signer.key.Get(), EVP_sha256());
    build.Build(Utf16(folder.Write("large", content)), Utf16(folder / "large.p7"));
    return ReadBytes(folder / "large.p7");
}

/// The file's structure, encoded again; "" where it does not parse.
std::string FromDisk(const CTempFolder& folder, const std::string& bytes) {
    const CUniquePkcs7 p7 = LoadPkcs7(Utf16(folder.Write("file.p7", bytes)));
    return p7 ? test::Der(p7.Get()) : std::string();
}
std::string FromMemory(const std::string& bytes) {
    const CUniquePkcs7 p7 = test::Parsed(bytes);
    return p7 ? test::Der(p7.Get()) : std::string();
}

TEST(LoadPkcs7, ALargeSignedFileIsTheSameInPieces) {
    const CTempFolder folder;
    const std::string file = LargeSigned(folder);
    const auto place = FindContent(Bytes(file), file.size());
    ASSERT_TRUE(place);
    EXPECT_TRUE(file.compare(place->offset, 7, "line 0\n") == 0);
    EXPECT_TRUE(FromDisk(folder, file) == file);
    EXPECT_TRUE(FromDisk(folder, file + "trailing bytes are ignored") == file);

    CPKCS7Request request(Utf16(folder / "large.p7"));
    EXPECT_TRUE(request->GetSigners(nullptr, nullptr).Get()->at(0)->verified);
    EXPECT_EQ(request->GetContentDigest()->size, place->length);
}

TEST(LoadPkcs7, ALargeDamagedFileIsJudgedAsOpenSslJudgesIt) {
    const CTempFolder folder;
    const std::string good = LargeSigned(folder);
    const std::size_t offset = FindContent(Bytes(good), good.size())->offset;
    const std::size_t behind = offset + FindContent(Bytes(good), good.size())->length;
    const std::size_t step = test::Size<std::size_t>(1, 9);
    int parsed = 0;
    for (std::size_t at = 0; at < offset; at += step) {
        for (const char flip : {'\x01', '\x80'}) {
            std::string bad = good;
            bad[at] = static_cast<char>(bad[at] ^ flip);
            const std::string expected = FromMemory(bad);
            EXPECT_TRUE(FromDisk(folder, bad) == expected) << "octet " << at;
            parsed += expected.empty() ? 0 : 1;
        }
    }
    EXPECT_GT(parsed, 0);
    for (const std::size_t length : {behind - 1, behind, behind + 1, good.size() - 1})
        EXPECT_EQ(FromDisk(folder, good.substr(0, length)), "") << length;
}

TEST(LoadPkcs7, LargeFilesOfOtherShapesAreReadToo) {
    const CTempFolder folder;
    const std::string small = ReadBytes(test::TestDataPath("corpus/hand-all-indefinite.p7"));
    const std::string padding(1500000, '\0');
    EXPECT_TRUE(FromDisk(folder, small + padding) == FromMemory(small));
    EXPECT_EQ(FromDisk(folder, padding), "");
}

TEST(FindContent, LengthsThatDoNotFitIntoEachOtherAreNone) {
    const CTempFolder folder;
    const std::string file = LargeSigned(folder);
    const auto place = FindContent(Bytes(file), file.size());
    ASSERT_TRUE(place);
    EXPECT_EQ(place->start.size(), place->offset);
    for (std::size_t length = 0; length < place->offset; ++length)
        EXPECT_FALSE(FindContent(Bytes(file).first(length), file.size())) << length;
    EXPECT_TRUE(FindContent(Bytes(file).first(place->offset), file.size()));
    EXPECT_FALSE(FindContent(Bytes(file), place->offset + place->length - 1));

    // The octet string claims one octet more than what it lies in.
    std::string longer = file;
    longer[place->offset - 1] = static_cast<char>(longer[place->offset - 1] + 1);
    EXPECT_FALSE(FindContent(Bytes(longer), longer.size()));
    for (const char* name : {"hand-all-indefinite.p7", "hand-env-1.p7m", "capi-data.p7",
                             "hand-detached.p7", "bc-timestamp-token.p7", "bc-stream.p7"}) {
        const std::string other = ReadBytes(test::TestDataPath(std::string("corpus/") + name));
        EXPECT_FALSE(FindContent(Bytes(other), other.size())) << name;
    }
}

}  // namespace
}  // namespace tarnwell
