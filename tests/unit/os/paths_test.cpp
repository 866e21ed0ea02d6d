#include <gtest/gtest.h>

#include "common/system/os/install_paths.h"
#include "common/system/os/long_path.h"

namespace tarnwell {
namespace {

TEST(InstallPaths, EverythingIsFoundFromTheModule) {
    const CUTF16String module = u"C:\\A\\B\\ext.dll";
    EXPECT_EQ(ResourceFile(u"icons/a.ico", module), u"C:\\A\\B\\..\\resources/icons/a.ico");
    EXPECT_EQ(GraphicsArchive(module), u"C:\\A\\B\\..\\resources\\graphics.bin#zip:");
    EXPECT_EQ(CacheServicePath(module), u"C:\\A\\B\\zelCacheSrv.exe");
    for (const char16_t* nowhere : {u"", u"ext.dll", u"C:/A/ext.dll"})
        EXPECT_EQ(ResourceDirectory(nowhere), u"\\..\\resources");
}

TEST(MapTo32BitInstall, PrefersThePrefixAndChangesOnePlaceOnly) {
    const CUTF16String folder64 = u"C:\\Program Files";
    const std::pair<const char16_t*, const char16_t*> cases[] = {
        {u"C:\\Program Files\\x64\\..\\a.bin", u"C:\\Program Files (x86)\\x64\\..\\a.bin"},
        {u"D:\\x64\\bin\\x64\\a.bin", u"D:\\win32\\bin\\x64\\a.bin"},
        {u"c:\\program files\\X64\\a.bin", u"c:\\program files\\X64\\a.bin"},
        // The comparison knows no folder names: this one begins with the prefix too.
        {u"C:\\Program Files (x86)\\X", u"C:\\Program Files (x86) (x86)\\X"},
    };
    for (const auto& [path, mapped] : cases)
        EXPECT_EQ(MapTo32BitInstall(path, folder64, folder64 + u" (x86)"), mapped);
    EXPECT_EQ(MapTo32BitInstall(u"C:\\P\\x64\\a", u"", u"C:\\P32"), u"C:\\P\\win32\\a");
}

TEST(ExtendedPath, KnowsDrivesAndSharesAndLeavesTheRest) {
    EXPECT_EQ(ExtendedPath(u"z:\\a\\b.p7"), u"\\\\?\\z:\\a\\b.p7");
    EXPECT_EQ(ExtendedPath(u"\\\\server\\share\\a"), u"\\\\?\\UNC\\server\\share\\a");
    for (const char16_t* path : {u"\\\\?\\C:\\a", u"\\\\?\\UNC\\server\\share", u"\\\\.\\pipe\\a",
                                 u"a\\b", u"C:a", u"C:", u"1:\\a", u"\\a", u""})
        EXPECT_EQ(ExtendedPath(path), path);
}

}  // namespace
}  // namespace tarnwell
