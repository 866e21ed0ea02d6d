#include "common/system/os/host_application.h"

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

TEST(HostApplication, SpeaksTheUsersLanguageOrTheNextBest) {
    const std::uint16_t french = 0x040C, polish = 0x0415, english = 1033, neutral = 0;
    const std::pair<std::vector<VersionTranslation>, int> cases[] = {
        // chosen by its code page
        {{}, 0},
        {{{polish, 1}, {polish, 2}}, 1},
        {{{polish, 1}, {english, 2}, {neutral, 3}, {french, 4}}, 4},
        {{{french, 1}, {french, 2}, {english, 3}}, 2},
        {{{english, 1}, {neutral, 2}, {neutral, 3}, {polish, 4}}, 3},
        {{{polish, 1}, {english, 2}, {english, 3}}, 3},
    };
    for (const auto& [list, chosen] : cases) {
        const VersionTranslation* found = ChooseTranslation(list, french);
        EXPECT_EQ(found ? found->codePage : 0, chosen);
    }
}

TEST(HostApplication, WithoutADescriptionIsItsFileNameBeforeTheFirstDot) {
    for (const char16_t* path : {u"C:\\d.x\\a.b.exe", u"a.exe", u"a", u"C:/d.x/a.exe", u"C:\\a."})
        EXPECT_EQ(PlainProgramName(path), u"a");
    for (const char16_t* path : {u"", u"C:\\a\\", u"C:\\a\\.exe"})
        EXPECT_EQ(PlainProgramName(path), u"");
}

}  // namespace
}  // namespace tarnwell
