#include "shellprobe/arguments.h"

#include <gtest/gtest.h>

namespace tarnwell::shellprobe {
namespace {

Arguments Parse(std::initializer_list<const char16_t*> list) {
    return ParseArguments({list.begin(), list.end()});
}

TEST(Arguments, MenuHasTheExplorersDefaults) {
    const Arguments arguments = Parse({u"menu", u"C:\\a b.txt", u"C:\\\u00e9, c.p7"});
    EXPECT_EQ(arguments.command, ECommand::kMenu);
    EXPECT_EQ(arguments.flags, 0U);
    EXPECT_EQ(arguments.firstId, 1U);
    EXPECT_EQ(arguments.lastId, 32767U);
    ASSERT_EQ(arguments.files.size(), 2U);
    EXPECT_EQ(arguments.files[1], u"C:\\\u00e9, c.p7");
}

TEST(Arguments, OptionsStandAnywhereBehindTheCommand) {
    const Arguments menu = Parse({u"menu", u"--first=7", u"a", u"--flags=0x21", u"--last=10"});
    EXPECT_EQ(menu.firstId, 7U);
    EXPECT_EQ(menu.flags, 0x21U);
    EXPECT_EQ(menu.lastId, 10U);
    EXPECT_EQ(menu.files.size(), 1U);
    const Arguments invoke = Parse({u"invoke", u"a", u"--offset=2", u"--answer-after=1500"});
    EXPECT_EQ(invoke.offset, 2U);
    EXPECT_EQ(invoke.answerAfter, 1500U);
    const Arguments popup = Parse({u"popup", u"--at=-5,20", u"a"});
    EXPECT_EQ(popup.x, -5);
    EXPECT_EQ(popup.y, 20);
    EXPECT_EQ(Parse({u"stress", u"--rounds=10000", u"a"}).rounds, 10000U);
}

TEST(Arguments, TwoDashesEndTheOptions) {
    const Arguments arguments = Parse({u"menu", u"--", u"--flags=1", u"-x"});
    EXPECT_EQ(arguments.flags, 0U);
    EXPECT_EQ(arguments.files.size(), 2U);
}

TEST(Arguments, HelpAndVersionNeedNothingElse) {
    EXPECT_EQ(Parse({u"--help"}).command, ECommand::kHelp);
    EXPECT_EQ(Parse({u"invoke", u"-h"}).command, ECommand::kHelp);
    EXPECT_EQ(Parse({u"--version"}).command, ECommand::kVersion);
}

TEST(Arguments, AWrongCommandLineIsNamed) {
    const struct {
        std::vector<CUTF16String> list;
        const char* said;
    } kCases[] = {
        {{}, "a command is missing"},
        {{u"dance", u"a"}, "there is no command \"dance\""},
        {{u"menu"}, "menu needs at least one file"},
        {{u"menu", u"--rounds=1", u"a"}, "menu has no option \"--rounds\""},
        {{u"menu", u"--flags", u"a"}, "--flags needs a value"},
        {{u"menu", u"--flags=", u"a"}, "--flags needs a number"},
        {{u"menu", u"--first=4294967296", u"a"}, "--first needs a number"},
        {{u"menu", u"--last=1x", u"a"}, "--last needs a number"},
        {{u"invoke", u"a"}, "invoke needs --offset=N"},
        {{u"invoke", u"--offset=65536", u"a"}, "from 0 to 65535"},
        {{u"invoke", u"--offset=-1", u"a"}, "--offset needs a number"},
        {{u"popup", u"a"}, "popup needs --at=X,Y"},
        {{u"popup", u"--at=1", u"a"}, "--at needs a point"},
        {{u"popup", u"--at=1,2,3", u"a"}, "--at needs a point"},
        {{u"stress", u"a"}, "stress needs --rounds=N"},
    };
    for (const auto& test : kCases) {
        try {
            ParseArguments(test.list);
            ADD_FAILURE() << "accepted: " << test.said;
        } catch (const EUsage& error) {
            EXPECT_NE(std::string(error.what()).find(test.said), std::string::npos)
                << error.what() << " does not say: " << test.said;
        }
    }
}

}  // namespace
}  // namespace tarnwell::shellprobe
