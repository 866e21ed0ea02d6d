#include "p7tool/p7tool.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <string>

#include "common/system/text/convert.h"
#include "support/temp_folder.h"
#include "support/test_paths.h"

namespace tarnwell::p7tool {
namespace {

using namespace test;
using namespace testing;

struct Result {
    int status;
    std::string out;
    std::string err;
};

std::string Contents(std::FILE* file) {
    std::string text(static_cast<std::size_t>(std::ftell(file)), '\0');
    std::rewind(file);
    text.resize(std::fread(text.data(), 1, text.size(), file));
    EXPECT_EQ(std::fclose(file), 0);
    return text;
}

Result Called(const std::vector<std::string>& words) {
    std::vector<CUTF16String> arguments;
    arguments.reserve(words.size());
    for (const std::string& word : words)
        arguments.push_back(Utf16FromUtf8(word));
    std::FILE* out = std::tmpfile();
    std::FILE* err = std::tmpfile();
    const int status = Run(arguments, out, err);
    return {status, Contents(out), Contents(err)};
}

std::string Corpus(const std::string& name) {
    return TestDataPath("corpus/" + name);
}

std::string Utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

TEST(P7Tool, InfoGoesOnBehindAFileThatCannotBeRead) {
    const Result result = Called({"info", Corpus("missing.p7"), Corpus("bc-rsa.p7")});
    EXPECT_EQ(result.status, kFailed);
    EXPECT_THAT(result.out, MatchesRegex(".*\"exception\":\"reading '.*\n.*\"type\":\"SIGN\".*\n"));
    EXPECT_THAT(result.err, HasSubstr("cannot be read as a PKCS#7 file"));
}

TEST(P7Tool, FailuresAreToldAsJsonAndInWords) {
    const CTempFolder folder;
    const std::string input = Utf8(folder.Write("żółw, 1.txt", "content"));
    const std::string missing = Utf8(folder / "missing");
    const std::string pair = Corpus("keys/r1.pem");
    const std::string other = Corpus("keys/r2.pem");
    const std::string ec = Corpus("certs/ec384.der");
    const std::string sealed = Corpus("hand-env-1.p7m");
    folder.Write("blocked.txt/inside", "");
    const std::string blocked = Utf8(folder.Write("blocked.txt.p7", SampleBytes("bc-rsa.p7")));
    const struct {
        std::vector<std::string> words;
        int error;
        const char* says;
    } rows[] = {
        {{"sign", "--signer", pair, "--key", pair, missing}, 1, "cannot be opened"},
        {{"sign", "--signer", missing, "--key", pair, input}, 4, "reading '"},
        {{"sign", "--signer", input, "--key", pair, input}, 4, "no certificate in PEM or DER"},
        {{"sign", "--signer", pair, "--key", input, input}, 3, "no private key in PEM"},
        {{"sign", "--signer", pair, "--key", other, input}, 3, "is not the key of"},
        {{"encrypt", "--recipient", ec, input}, 2, "recipients RSA certificates"},
        {{"encrypt", "--recipient", pair, input, Utf8(folder.Path())}, 16, "could not be written"},
        {{"recover", missing}, 1, "reading '"},
        {{"recover", input}, 1026, "is no PKCS#7 file"},
        {{"recover", sealed}, 1026, "give --cert and --key"},
        {{"recover", "--cert", other, "--key", other, sealed}, 1026, "does not open with this"},
        {{"recover", blocked}, 1040, "could not be written"},
    };
    for (const auto& row : rows) {
        const Result result = Called(row.words);
        EXPECT_EQ(result.status, kFailed) << row.says;
        EXPECT_THAT(result.out, StartsWith("{\"error\":" + std::to_string(row.error) + ","));
        EXPECT_THAT(result.err, AllOf(StartsWith("p7tool: "), HasSubstr(row.says)));
    }
}

TEST(P7Tool, SaysWhyNothingWasWrittenAndHelps) {
    const CTempFolder folder;
    folder.Write("a.txt", "signed content");
    const auto detached = folder.Write("a.txt.p7", SampleBytes("ossl-detached.p7"));
    EXPECT_THAT(Called({"recover", Utf8(detached)}).err, HasSubstr("encloses no content"));
    const auto bare = folder.Write("bare", SampleBytes("bc-rsa.p7"));
    EXPECT_THAT(Called({"recover", Utf8(bare)}).err, HasSubstr("has no extension to take off"));
    EXPECT_THAT(Called({"--help"}).out, HasSubstr("Exit status"));
    EXPECT_THAT(Called({"--version"}).out, StartsWith("p7tool "));
    const Result wrong = Called({"sign"});
    EXPECT_EQ(wrong.status, kWrongUsage);
    EXPECT_THAT(wrong.err, EndsWith("Try: p7tool --help\n"));
}

}  // namespace
}  // namespace tarnwell::p7tool
