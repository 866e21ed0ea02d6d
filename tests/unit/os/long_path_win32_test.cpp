#include "common/system/os/long_path.h"

#include <gtest/gtest.h>

#include <string>

#include "common/system/os/windows.h"

namespace tarnwell {
namespace {

CUTF16String Name(std::size_t length) {
    return CUTF16String(std::u16string_view(std::u16string(length, u'n')));
}

CUTF16String CurrentFolder() {
    wchar_t folder[MAX_PATH];
    const DWORD length = GetCurrentDirectoryW(MAX_PATH, folder);
    return CUTF16String(Units(folder), length);
}

TEST(OpenablePath, APathThatFitsStaysAsItIs) {
    for (const char16_t* path : {u"C:\\a\\..\\b.p7", u"b.p7", u"C:/a/b", u"\\\\s\\t\\u", u"NUL"})
        EXPECT_EQ(OpenablePath(path), path);
    const CUTF16String longest = CUTF16String(u"C:\\") + Name(256);
    EXPECT_EQ(OpenablePath(longest), longest);
}

TEST(OpenablePath, ALongerOneIsExtendedAndNormalised) {
    const CUTF16String name = Name(257);
    const CUTF16String extended = CUTF16String(u"\\\\?\\C:\\") + name;
    EXPECT_EQ(OpenablePath(CUTF16String(u"C:\\") + name), extended);
    EXPECT_EQ(OpenablePath(CUTF16String(u"C:/") + name), extended);
    EXPECT_EQ(OpenablePath(CUTF16String(u"C:\\a\\..\\") + name), extended);
    EXPECT_EQ(OpenablePath(extended), extended);
    EXPECT_EQ(OpenablePath(CUTF16String(u"//server/share/") + name),
              CUTF16String(u"\\\\?\\UNC\\server\\share\\") + name);
    EXPECT_EQ(OpenablePath(CUTF16String(u"\\\\server\\share\\") + name),
              CUTF16String(u"\\\\?\\UNC\\server\\share\\") + name);
}

TEST(OpenablePath, TheCurrentFolderCountsForARelativePath) {
    const CUTF16String name = Name(250);
    ASSERT_GE(CurrentFolder().Length(), 10U);
    EXPECT_EQ(OpenablePath(name), CUTF16String(u"\\\\?\\") + CurrentFolder() + u"\\" + name);
}

}  // namespace
}  // namespace tarnwell
