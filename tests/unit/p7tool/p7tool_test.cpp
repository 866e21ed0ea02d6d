#include "p7tool/p7tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "common/system/text/convert.h"
#include "support/temp_folder.h"
#include "support/test_paths.h"

namespace tarnwell::p7tool {
namespace {

using test::CTempFolder;
using test::ReadBytes;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

struct Result {
    int status;
    std::string out;
    std::string err;
};

std::string Contents(std::FILE* file) {
    std::string text(static_cast<std::size_t>(std::ftell(file)), '\0');
    std::rewind(file);
    text.resize(std::fread(text.data(), 1, text.size(), file));
    std::fclose(file);
    return text;
}

Result Called(const std::vector<std::string>& words) {
    std::vector<CUTF16String> arguments;
    for (const std::string& word : words)
        arguments.push_back(Utf16FromUtf8(word));
    std::FILE* out = std::tmpfile();
    std::FILE* err = std::tmpfile();
    const int status = Run(arguments, out, err);
    return {status, Contents(out), Contents(err)};
}

std::string Corpus(const std::string& name) {
    return test::TestDataPath("corpus/" + name);
}

std::string Utf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

TEST(P7Tool, InfoTellsEachFileOnALineInOrder) {
    const Result result = Called(
        {"info", Corpus("hand-time-utc49.p7"), Corpus("capi-sae-1x1.p7m"), Corpus("capi-data.p7")});
    EXPECT_EQ(result.status, kDone);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(
        result.out,
        "{\"file\":\"" + Corpus("hand-time-utc49.p7") +
            R"(","code":0,"type":"SIGN","error":0,"errorNames":"","signers":[{"subject":"Alma Reed",)"
            R"("issuer":"Orchard Test Root","serial":"021472F10678EE6FE516F51F986FE546B276635D49EB",)"
            R"("signingTime":"2049-12-31T23:59:59Z","verified":true}],"recipients":[],"content":)"
            R"({"size":28,"sha256":)"
            R"("91265c111fc6297a1c8140a464821f432a90c51354f89bf403111a476580aa5f"}})"
            "\n{\"file\":\"" +
            Corpus("capi-sae-1x1.p7m") +
            R"(","code":2,"type":"SIGNENCRYPT","error":0,"errorNames":"","signers":[{"subject":)"
            R"("Alma Reed","issuer":"Orchard Test Root",)"
            R"("serial":"021472F10678EE6FE516F51F986FE546B276635D49EB",)"
            R"("signingTime":"2026-11-21T02:20:24Z","verified":false}],"recipients":[)"
            R"("305E3046310B3009060355040613025858311B3019060355040A0C124F726368617264205465737420)"
            R"(576F726B73311A301806035504030C114F726368617264205465737420526F6F74021473CE3E41E3B589)"
            R"(531C95BA036AA4C7D4E747957C"],"content":null})"
            "\n{\"file\":\"" +
            Corpus("capi-data.p7") +
            R"(","code":4,"type":"UNKNOWN","error":0,"errorNames":"","signers":[],"recipients":[],)"
            R"("content":{"size":42,"sha256":)"
            R"("14e543f2785558d543c6b8bc51dc8186d1717142bf848a7bbdf6203c4827a167"}})"
            "\n");
}

TEST(P7Tool, InfoGoesOnBehindAFileThatCannotBeRead) {
    const CTempFolder folder;
    const std::string missing = Utf8(folder / "missing \"x\".p7");
    const Result result =
        Called({"info", Corpus("nonp7-empty.p7"), missing, Corpus("ossl-nocerts.p7")});
    EXPECT_EQ(result.status, kFailed);
    EXPECT_THAT(result.out,
                AllOf(HasSubstr(R"("code":4,"type":"UNKNOWN","error":1026,)"
                                R"("errorNames":"ERROR_OPENSSL,ERROR_RECOVER",)"),
                      HasSubstr(R"("exception":"reading ')"),
                      HasSubstr(R"("error":82,"errorNames":"ERROR_OPENSSL,GET_SIGNER_FAIL",)")));
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 3);
    EXPECT_THAT(result.err, HasSubstr("cannot be read as a PKCS#7 file"));
}

TEST(P7Tool, BuildsWhatItOpensAgain) {
    const std::string pair = Corpus("keys/r1.pem");
    for (const std::string command : {"sign", "encrypt", "signencrypt"}) {
        const CTempFolder folder;
        const std::string input = Utf8(folder.Write("żółw, 1.txt", "content"));
        std::vector<std::string> words = {command};
        if (command != "encrypt")
            words.insert(words.end(), {"--signer", pair, "--key", pair});
        if (command != "sign")
            words.insert(words.end(), {"--recipient", pair});
        words.push_back(input);
        Result result = Called(words);
        EXPECT_EQ(result.status, kDone) << command << result.err;
        EXPECT_EQ(result.out + result.err, "");

        std::filesystem::remove(folder / "żółw, 1.txt");
        const std::string file = input + ".p7";
        result = Called({"recover", file});
        EXPECT_EQ(result.status, command == "sign" ? kDone : kFailed);
        if (command != "sign") {
            EXPECT_EQ(result.out,
                      "{\"error\":1026,\"errorNames\":\"ERROR_OPENSSL,ERROR_RECOVER\"}\n");
            EXPECT_THAT(result.err, HasSubstr("give --cert and --key"));
            result = Called({"recover", "--cert", pair, "--key", pair, file});
            EXPECT_EQ(result.status, kDone) << result.err;
        }
        EXPECT_EQ(ReadBytes(folder / "żółw, 1.txt"), "content") << command;
    }
}

TEST(P7Tool, FailuresAreToldAsJsonAndInWords) {
    const CTempFolder folder;
    const std::string input = Utf8(folder.Write("in.txt", "content"));
    const std::string pair = Corpus("keys/r1.pem");
    const std::string other = Corpus("keys/r2.pem");
    const std::string ec = Corpus("certs/ec384.der");
    folder.Write("folder/inside", "");
    folder.Write("blocked.txt/inside", "");
    const std::string blocked =
        Utf8(folder.Write("blocked.txt.p7", ReadBytes(Corpus("bc-rsa.p7"))));
    const std::string missing = Utf8(folder / "missing");
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
        {{"sign", "--signer", pair, "--key", pair, input, Utf8(folder / "folder")},
         16,
         "could not be written"},
        {{"recover", missing}, 1, "reading '"},
        {{"recover", input}, 1026, "is no PKCS#7 file"},
        {{"recover", "--cert", other, "--key", other, Corpus("hand-env-1.p7m")},
         1026,
         "does not open with this certificate and key"},
        {{"recover", blocked}, 1040, "could not be written"},
    };
    for (const auto& row : rows) {
        const Result result = Called(row.words);
        EXPECT_EQ(result.status, kFailed) << row.says;
        EXPECT_THAT(result.out, AllOf(StartsWith("{\"error\":" + std::to_string(row.error) + ","),
                                      EndsWith("\"}\n")));
        EXPECT_THAT(result.err, AllOf(StartsWith("p7tool: "), HasSubstr(row.says)));
    }
}

TEST(P7Tool, RecoverSaysWhyNothingWasWritten) {
    const CTempFolder folder;
    const std::string bare = Utf8(folder.Write("signed", ReadBytes(Corpus("bc-rsa.p7"))));
    Result result = Called({"recover", bare});
    if (bare.find('.') == std::string::npos) {
        EXPECT_EQ(result.status, kDone);
        EXPECT_THAT(result.err, HasSubstr("has no extension to take off"));
    }
    folder.Write("a.txt", "signed content");
    result =
        Called({"recover", Utf8(folder.Write("a.txt.p7", ReadBytes(Corpus("ossl-detached.p7"))))});
    EXPECT_EQ(result.status, kDone);
    EXPECT_THAT(result.err, HasSubstr("encloses no content"));
}

TEST(P7Tool, HelpGoesToTheOutputAndWrongUsageToTheErrors) {
    const Result help = Called({"--help"});
    EXPECT_EQ(help.status, kDone);
    EXPECT_THAT(help.out, AllOf(HasSubstr("p7tool info FILE..."), HasSubstr("Exit status")));
    EXPECT_THAT(Called({"--version"}).out, StartsWith("p7tool "));
    const Result wrong = Called({"sign"});
    EXPECT_EQ(wrong.status, kWrongUsage);
    EXPECT_EQ(wrong.out, "");
    EXPECT_THAT(wrong.err, EndsWith("Try: p7tool --help\n"));
}

}  // namespace
}  // namespace tarnwell::p7tool
