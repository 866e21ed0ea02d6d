#include "manager/core/options.h"

#include <gtest/gtest.h>

#include "manager/core/log.h"

namespace tarnwell::manager {
namespace {

using Words = std::vector<std::u16string>;

/// Parses with every variable set to "V:\".
Options Parse(const Words& words) {
    return ParseOptions(words, [](std::u16string_view) { return u"V:\\"; });
}

TEST(ParseOptions, PrefersArgumentsToVariablesAndSaysWhatIsWrong) {
    const Options options = Parse({u"/standalone", u"--idle-seconds", u"5", u"--log=C:\\a=b.log"});
    EXPECT_EQ(options.problem, "");
    EXPECT_EQ(options.idle, std::chrono::seconds(5));
    EXPECT_EQ(options.log, u"C:\\a=b.log");
    EXPECT_EQ(options.home, u"V:\\");
    EXPECT_FALSE(options.open);
    for (const Words& words :
         {Words{u"/standalone", u"x"}, Words{u"--standalone=1"}, Words{u"--no-open"},
          Words{u"/standalone", u"--idle-seconds"}, Words{u"/standalone", u"--home="},
          Words{u"/standalone", u"--idle-seconds", u"86401"},
          Words{u"/standalone", u"--idle-seconds=4294967297"}})
        EXPECT_NE(Parse(words).problem, "") << Utf8(words.back());
}

TEST(ArgumentText, FindsTheEndOfAnUnquotedProgramPathWithBlanks) {
    const std::pair<const char16_t*, std::u16string_view> cases[] = {
        {u"C:\\Program Files (x86)\\Q\\..\\Q\\CORVANE.EXE /standalone", u" /standalone"},
        {u"\"C:\\Program Files (x86)\\Q\\Corvane.exe\" --help", u" --help"},
        {u"C:\\Corvane.exe.d\\Corvane.exe --help", u" --help"},
        {u"corvane --help", u" --help"},
        {u"C:\\Program Files (x86)\\Q\\Corvane.exe", u""},
        {u"\"C:\\unclosed", u""},
    };
    for (const auto& [line, rest] : cases)
        EXPECT_EQ(ArgumentText(line, u"C:\\Program Files (x86)\\Q\\Corvane.exe"), rest);
}

}  // namespace
}  // namespace tarnwell::manager
