#include "p7tool/command_line.h"

#include <gtest/gtest.h>

#include <sstream>

#include "common/system/text/convert.h"

namespace tarnwell::p7tool {
namespace {

std::vector<CUTF16String> Words(const std::string& text) {
    std::vector<CUTF16String> words;
    std::istringstream stream(text);
    for (std::string word; stream >> word;)
        words.push_back(Utf16FromUtf8(word));
    return words;
}

TEST(ParseCommandLine, OptionsMayStandAnywhereAndHaveTheirValueEitherWay) {
    for (const char* text :
         {"signencrypt --signer a.pem --key a.key --signer b.pem --key b.key --recipient r in out",
          "signencrypt in --signer=a.pem --key=a.key out --recipient=r --signer=b.pem "
          "--key=b.key"}) {
        const CommandLine line = ParseCommandLine(Words(text));
        EXPECT_EQ(line.command, ECommand::kBuild);
        EXPECT_EQ(line.type, CPKCS7_TYPE::SIGNENCRYPT);
        ASSERT_EQ(line.signers.size(), 2u);
        EXPECT_EQ(line.signers[0].key, u"a.key");
        EXPECT_EQ(line.signers[1].certificate, u"b.pem");
        EXPECT_EQ(line.recipients.size(), 1u);
        ASSERT_EQ(line.files.size(), 2u);
        EXPECT_EQ(line.files[1], u"out");
    }
    const CommandLine line = ParseCommandLine(Words("sign --signer=s --key=k=1 -- --in -"));
    EXPECT_EQ(line.signers[0].key, u"k=1");
    ASSERT_EQ(line.files.size(), 2u);
    EXPECT_EQ(line.files[0], u"--in");
}

TEST(ParseCommandLine, AsksForHelpAndVersion) {
    for (const char* text : {"--help", "-h", "help", "info --help", "sign -h"})
        EXPECT_EQ(ParseCommandLine(Words(text)).command, ECommand::kHelp) << text;
    EXPECT_EQ(ParseCommandLine(Words("--version")).command, ECommand::kVersion);
}

TEST(ParseCommandLine, WrongCommandLinesAreToldFromEachOther) {
    const struct {
        const char* text;
        const char* says;
    } rows[] = {
        {"", "what is to be done"},
        {"verify a", "there is no command \"verify\""},
        {"info", "which file"},
        {"sign a", "who signs"},
        {"encrypt a", "who is it for"},
        {"signencrypt --recipient r a", "who signs"},
        {"sign --signer c a", "needs its --key"},
        {"sign --key k --signer c a", "--key belongs behind"},
        {"sign --signer c --key k --key k a", "stands twice"},
        {"sign --signer c --key k", "which file"},
        {"sign --signer c --key k a b c", "more files"},
        {"sign --signer c --key k --recipient r a", "no option --recipient"},
        {"encrypt --signer c a", "no option --signer"},
        {"info --key k a", "no option --key"},
        {"recover a b", "more files"},
        {"recover --cert c a", "go together"},
        {"recover --key k a", "go together"},
        {"encrypt a --recipient", "needs a file behind it"},
        {"encrypt --recipient= a", "not an empty text"},
    };
    for (const auto& row : rows) {
        try {
            ParseCommandLine(Words(row.text));
            ADD_FAILURE() << row.text;
        } catch (const EUsage& error) {
            EXPECT_NE(std::string(error.what()).find(row.says), std::string::npos)
                << row.text << ": " << error.what();
        }
    }
}

}  // namespace
}  // namespace tarnwell::p7tool
