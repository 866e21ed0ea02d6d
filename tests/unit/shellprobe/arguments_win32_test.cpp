#include "shellprobe/arguments.h"

#include <gmock/gmock.h>

namespace tarnwell::shellprobe {
namespace {

// What the end-to-end tests give the program is not repeated here.
TEST(Arguments, OptionsStandAnywhereBehindTheCommandUpToTwoDashes) {
    const Arguments menu = ParseArguments({u"menu", u"a", u"--flags=0x21", u"--", u"--last=1"});
    EXPECT_EQ(menu.flags, 0x21U);
    EXPECT_EQ(menu.lastId, 32767U);
    EXPECT_EQ(menu.files, (std::vector<CUTF16String>{u"a", u"--last=1"}));
    const Arguments popup = ParseArguments({u"popup", u"--at=-5,20", u"a"});
    EXPECT_EQ(popup.x, -5);
    EXPECT_EQ(popup.y, 20);
    EXPECT_EQ(ParseArguments({u"icon", u"--png=p=\u00e9", u"a"}).png, u"p=\u00e9");
    EXPECT_EQ(ParseArguments({u"view", u"--mode=details", u"a"}).mode, EViewMode::kDetails);
    EXPECT_EQ(ParseArguments({u"invoke", u"-h"}).command, ECommand::kHelp);
    EXPECT_EQ(ParseArguments({u"invoke", u"--offset=2", u"--answer-after=9", u"a"}).answerAfter,
              9U);
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
        {{u"icon", u"--png=", u"a"}, "--png needs a value"},
        {{u"menu", u"--first=4294967296", u"a"}, "--first needs a number"},
        {{u"invoke", u"a"}, "invoke needs --offset=N"},
        {{u"invoke", u"--offset=65536", u"a"}, "from 0 to 65535"},
        {{u"icon", u"--large=65536", u"a"}, "from 0 to 65535"},
        {{u"tip", u"--through-shell=1", u"a"}, "--through-shell takes no value"},
        {{u"tip", u"--png=x", u"a"}, "tip has no option \"--png\""},
        {{u"stress", u"--rounds=1", u"--only=icons", u"a"}, "one of menu, icon, tip"},
        {{u"view", u"a", u"b"}, "view needs one folder"},
        {{u"doctor", u"a"}, "doctor takes no files"},
        {{u"popup", u"--at=1,2,3", u"a"}, "--at needs a point"},
    };
    for (const auto& test : kCases)
        EXPECT_THAT([&] { ParseArguments(test.list); },
                    testing::ThrowsMessage<EUsage>(testing::HasSubstr(test.said)));
}

}  // namespace
}  // namespace tarnwell::shellprobe
