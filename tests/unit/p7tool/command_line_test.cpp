#include "p7tool/command_line.h"

#include <gmock/gmock.h>

#include <sstream>

#include "common/system/text/convert.h"

namespace tarnwell::p7tool {
namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

CommandLine Parsed(const std::string& text) {
    std::vector<CUTF16String> words;
    std::istringstream stream(text);
    for (std::string word; stream >> word;)
        words.push_back(Utf16FromUtf8(word));
    return ParseCommandLine(words);
}

TEST(ParseCommandLine, OptionsMayStandAnywhereAndHaveTheirValueEitherWay) {
    const CommandLine line = Parsed(
        "signencrypt --signer a.pem --key a.key in --recipient=r --signer=b --key=k=1 -- --out");
    EXPECT_EQ(line.type, CPKCS7_TYPE::SIGNENCRYPT);
    ASSERT_EQ(line.signers.size(), 2u);
    EXPECT_EQ(line.signers[0].key, u"a.key");
    EXPECT_EQ(line.signers[1].certificate, u"b");
    EXPECT_EQ(line.signers[1].key, u"k=1");
    EXPECT_EQ(line.recipients.size(), 1u);
    ASSERT_EQ(line.files.size(), 2u);
    EXPECT_EQ(line.files[1], u"--out");
    EXPECT_EQ(Parsed("sign -h").command, ECommand::kHelp);
}

TEST(ParseCommandLine, WrongCommandLinesAreToldFromEachOther) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "what is to be done"},
        {"verify a", "there is no command \"verify\""},
        {"info", "which file"},
        {"sign a", "who signs"},
        {"encrypt a", "who is it for"},
        {"sign --signer c a", "needs its --key"},
        {"sign --key k --signer c a", "--key belongs behind"},
        {"sign --signer c --key k --key k a", "stands twice"},
        {"sign --signer c --key k a b c", "more files"},
        {"encrypt --signer c a", "no option --signer"},
        {"info --key k a", "no option --key"},
        {"recover --cert c a", "go together"},
        {"encrypt a --recipient", "needs a file behind it"},
        {"encrypt --recipient= a", "not an empty text"},
    };
    for (const auto& [text, says] : rows)
        EXPECT_THAT([line = text] { Parsed(line); }, ThrowsMessage<EUsage>(HasSubstr(says)))
            << text;
}

}  // namespace
}  // namespace tarnwell::p7tool
