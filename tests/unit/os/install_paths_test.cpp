#include "common/system/os/install_paths.h"

#include <gtest/gtest.h>

namespace tarnwell {
namespace {

TEST(InstallPaths, TheDirectoryEndsBeforeTheLastBackslash) {
    const struct {
        const char16_t* path;
        const char16_t* directory;
    } cases[] = {
        {u"C:\\A\\B\\ext.dll", u"C:\\A\\B"},
        {u"C:\\ext.dll", u"C:"},
        {u"\\\\server\\share\\x", u"\\\\server\\share"},
        {u"C:\\A\\", u"C:\\A"},
        {u"ext.dll", u""},
        {u"C:/A/ext.dll", u""},
        {u"\\ext.dll", u""},
        {u"", u""},
    };
    for (const auto& expected : cases)
        EXPECT_EQ(DirectoryOf(expected.path), expected.directory);
}

TEST(InstallPaths, EverythingIsFoundFromTheModule) {
    const CUTF16String module = u"C:\\A\\B\\ext.dll";
    EXPECT_EQ(ModuleDirectory(module), u"C:\\A\\B");
    EXPECT_EQ(ResourceDirectory(module), u"C:\\A\\B\\..\\resources");
    EXPECT_EQ(ResourceFile(u"icons/a.ico", module), u"C:\\A\\B\\..\\resources/icons/a.ico");
    EXPECT_EQ(GraphicsArchive(module), u"C:\\A\\B\\..\\resources\\graphics.bin#zip:");
    EXPECT_EQ(TraceLibraryPath(module), u"C:\\A\\B\\zelLog.dll");
    EXPECT_EQ(CacheServicePath(module), u"C:\\A\\B\\zelCacheSrv.exe");
}

TEST(InstallPaths, WithoutAModuleDirectoryEveryPathIsRelative) {
    for (const char16_t* module : {u"", u"ext.dll"}) {
        EXPECT_EQ(ModuleDirectory(module), u"");
        EXPECT_EQ(ResourceDirectory(module), u"\\..\\resources");
        EXPECT_EQ(TraceLibraryPath(module), u"\\zelLog.dll");
    }
}

TEST(MapTo32BitInstall, PrefersThePrefixAndChangesOnePlaceOnly) {
    const CUTF16String folder64 = u"C:\\Program Files";
    const CUTF16String folder32 = u"C:\\Program Files (x86)";
    const struct {
        const char16_t* path;
        const char16_t* mapped;
    } cases[] = {
        {u"C:\\Program Files\\X\\x64\\bin\\..\\resources\\a.bin",
         u"C:\\Program Files (x86)\\X\\x64\\bin\\..\\resources\\a.bin"},
        {u"C:\\Program Files", u"C:\\Program Files (x86)"},
        {u"D:\\x64\\bin\\x64\\a.bin", u"D:\\win32\\bin\\x64\\a.bin"},
        {u"D:\\ax64b\\a.bin", u"D:\\awin32b\\a.bin"},
        {u"D:\\X64\\a.bin", u"D:\\X64\\a.bin"},
        {u"c:\\program files\\X\\a.bin", u"c:\\program files\\X\\a.bin"},
        {u"\"C:\\Program Files\\X\"", u"\"C:\\Program Files\\X\""},
        // The comparison knows no folder names: this one begins with the prefix too.
        {u"C:\\Program Files (x86)\\X", u"C:\\Program Files (x86) (x86)\\X"},
        {u"C:\\Progra", u"C:\\Progra"},
        {u"", u""},
    };
    for (const auto& expected : cases)
        EXPECT_EQ(MapTo32BitInstall(expected.path, folder64, folder32), expected.mapped);
}

TEST(MapTo32BitInstall, AFolderThatTheSystemDoesNotTellIsNoPrefix) {
    EXPECT_EQ(MapTo32BitInstall(u"C:\\P\\a", u"", u"C:\\P32"), u"C:\\P\\a");
    EXPECT_EQ(MapTo32BitInstall(u"C:\\P\\x64\\a", u"", u"C:\\P32"), u"C:\\P\\win32\\a");
    EXPECT_EQ(MapTo32BitInstall(u"C:\\P\\a", u"C:\\P", u""), u"\\a");
}

}  // namespace
}  // namespace tarnwell
