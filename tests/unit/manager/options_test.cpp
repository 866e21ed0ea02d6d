#include "manager/core/options.h"

#include <gtest/gtest.h>

#include <map>

namespace tarnwell::manager {
namespace {

using Words = std::vector<std::u16string>;

Options Parse(const Words& words, const std::map<std::u16string, std::u16string>& variables = {}) {
    return ParseOptions(words, [&](std::u16string_view name) -> std::optional<std::u16string> {
        const auto found = variables.find(std::u16string(name));
        return found == variables.end() ? std::nullopt : std::optional(found->second);
    });
}

TEST(ParseOptions, ReadsWhatTheExtensionAndADeveloperWrite) {
    EXPECT_EQ(Parse({}).run, Run::kExplain);
    EXPECT_EQ(Parse({u"/standalone"}).run, Run::kStandalone);
    EXPECT_EQ(Parse({u"/standalone"}).idle, std::chrono::seconds(60));
    EXPECT_TRUE(Parse({u"/standalone"}).open);
    EXPECT_EQ(Parse({u"--help", u"--nonsense"}).run, Run::kHelp);
    EXPECT_EQ(Parse({u"/standalone", u"--version"}).run, Run::kVersion);

    const Options options = Parse({u"--standalone", u"--idle-seconds", u"5", u"--log=C:\\a=b.log",
                                   u"--home", u"D:\\h", u"--no-open"});
    EXPECT_EQ(options.problem, "");
    EXPECT_EQ(options.run, Run::kStandalone);
    EXPECT_EQ(options.idle, std::chrono::seconds(5));
    EXPECT_EQ(options.log, u"C:\\a=b.log");
    EXPECT_EQ(options.home, u"D:\\h");
    EXPECT_FALSE(options.open);
}

TEST(ParseOptions, TakesVariablesWhereNobodyWritesOptions) {
    const std::map<std::u16string, std::u16string> variables = {
        {u"CORVANE_HOME", u"H:\\"}, {u"CORVANE_LOG", u"L:\\"}, {u"CORVANE_NO_OPEN", u"1"}};
    const Options options = Parse({u"/standalone"}, variables);
    EXPECT_EQ(options.home, u"H:\\");
    EXPECT_EQ(options.log, u"L:\\");
    EXPECT_FALSE(options.open);
    EXPECT_EQ(Parse({u"/standalone", u"--log=X:\\"}, variables).log, u"X:\\");
    EXPECT_TRUE(Parse({u"/standalone"}, {{u"CORVANE_NO_OPEN", u""}}).open);
}

TEST(ParseOptions, SaysWhatIsWrong) {
    const Words wrong[] = {
        {u"/standalon"},
        {u"/standalone", u"x"},
        {u"--standalone=1"},
        {u"/standalone", u"--idle-seconds"},
        {u"/standalone", u"--idle-seconds=0"},
        {u"/standalone", u"--idle-seconds=-1"},
        {u"/standalone", u"--idle-seconds", u"86401"},
        {u"/standalone", u"--idle-seconds", u"4294967297"},
        {u"/standalone", u"--log"},
        {u"/standalone", u"--home="},
        {u"--no-open"},
    };
    for (const Words& words : wrong)
        EXPECT_NE(Parse(words).problem, "") << std::string(words[0].begin(), words[0].end());
}

TEST(ArgumentText, FindsTheEndOfAnUnquotedProgramPathWithBlanks) {
    constexpr std::u16string_view kModule = u"C:\\Program Files (x86)\\Q\\bin\\Corvane.exe";
    struct Case {
        const char16_t* line;
        const char16_t* rest;
    };
    const Case cases[] = {
        {u"C:\\Program Files (x86)\\Q\\bin\\Corvane.exe /standalone", u" /standalone"},
        {u"C:\\Program Files (x86)\\Q\\bin\\..\\bin\\CORVANE.EXE /standalone", u" /standalone"},
        {u"\"C:\\Program Files (x86)\\Q\\bin\\Corvane.exe\" --help", u" --help"},
        {u"C:\\Corvane.exe.d\\Corvane.exe --help", u" --help"},
        {u"corvane --help", u" --help"},
        {u"C:\\Program Files (x86)\\Q\\bin\\Corvane.exe", u""},
        {u"\"C:\\unclosed", u""},
        {u"corvane", u""},
        {u"", u""},
    };
    for (const Case& each : cases) {
        const std::u16string_view line = each.line;
        EXPECT_EQ(ArgumentText(line, kModule), std::u16string_view(each.rest))
            << std::string(line.begin(), line.end());
    }
}

TEST(HelpText, FitsAConsoleAndTellsWhereThingsAre) {
    const std::string text = HelpText("C:\\home", "C:\\log.txt");
    EXPECT_NE(text.find("C:\\home\\demo-identity\n"), text.npos);
    EXPECT_NE(text.find("C:\\log.txt\n"), text.npos);
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = text.find('\n', start);
        EXPECT_LE(end - start, 80u) << text.substr(start, end - start);
        start = end + 1;
    }
}

}  // namespace
}  // namespace tarnwell::manager
