#include "common/system/os/host_application.h"

#include <gtest/gtest.h>

#include <vector>

namespace tarnwell {
namespace {

TEST(HostApplication, SpeaksTheUsersLanguageOrTheNextBest) {
    const std::uint16_t french = 0x040C, polish = 0x0415, english = 1033, neutral = 0;
    const struct {
        std::vector<VersionTranslation> list;
        int chosen;  // -1: none
    } cases[] = {
        {{}, -1},
        {{{polish, 1}}, 0},
        {{{polish, 1}, {polish, 2}}, 0},
        {{{polish, 1}, {english, 2}, {neutral, 3}, {french, 4}}, 3},
        {{{french, 1}, {french, 2}, {english, 3}}, 1},
        {{{english, 1}, {neutral, 2}, {neutral, 3}, {polish, 4}}, 2},
        {{{polish, 1}, {english, 2}, {english, 3}}, 2},
    };
    for (const auto& [list, chosen] : cases) {
        const VersionTranslation* found = ChooseTranslation(list, french);
        EXPECT_EQ(found, chosen < 0 ? nullptr : &list[static_cast<std::size_t>(chosen)]);
    }
    EXPECT_EQ(DescriptionKey({0x040C, 0x04B0}), u"\\StringFileInfo\\040c04b0\\FileDescription");
}

TEST(HostApplication, WithoutADescriptionIsItsFileNameBeforeTheFirstDot) {
    for (const char16_t* path : {u"C:\\d.x\\a.b.exe", u"a.exe", u"a", u"C:/d.x/a.exe", u"C:\\a."})
        EXPECT_EQ(PlainProgramName(path), u"a");
    for (const char16_t* path : {u"", u"C:\\a\\", u"C:\\a\\.exe"})
        EXPECT_EQ(PlainProgramName(path), u"");
}

}  // namespace
}  // namespace tarnwell
