#include "common/system/os/install_paths.h"

#include <gtest/gtest.h>

#include <string>

#include "common/system/os/windows.h"

namespace tarnwell {
namespace {

CUTF16String Environment(const wchar_t* name) {
    wchar_t value[512];
    const DWORD length = GetEnvironmentVariableW(name, value, 512);
    return length < 512 ? CUTF16String(Units(value), length) : CUTF16String();
}

TEST(InstallPaths, TheModuleIsTheProgramThatThisCodeIsLinkedInto) {
    wchar_t expected[MAX_PATH];
    const DWORD length = GetModuleFileNameW(nullptr, expected, MAX_PATH);
    ASSERT_GT(length, 0U);
    EXPECT_EQ(ModulePath(), CUTF16String(Units(expected), length));
    EXPECT_EQ(TraceLibraryPath(), DirectoryOf(ModulePath()) + u"\\zelLog.dll");
}

TEST(InstallPaths, TheProgramFilesFoldersAreTheSystems) {
    const ProgramFilesFolders folders = ProgramFilesFolders::Fetch();
    EXPECT_EQ(folders.programFiles64, Environment(L"ProgramW6432"));
    EXPECT_EQ(folders.programFiles32, Environment(L"ProgramFiles(x86)"));
    EXPECT_FALSE(folders.programFiles64.IsEmpty());
}

TEST(InstallPaths, ProductFoldersLieInTheirKnownFolders) {
    const ProgramFilesFolders folders = ProgramFilesFolders::Fetch();
    EXPECT_EQ(ProductFolder(EProductRoot::kProgramFiles),
              Environment(L"ProgramFiles") + u"\\Ostrel");
    EXPECT_EQ(ProductFolder(EProductRoot::kProgramFiles64), folders.programFiles64 + u"\\Ostrel");
    EXPECT_EQ(ProductFolder(EProductRoot::kProgramFiles32), folders.programFiles32 + u"\\Ostrel");
    EXPECT_EQ(ProductFolder(EProductRoot::kRoamingAppData), Environment(L"APPDATA") + u"\\Ostrel");
}

}  // namespace
}  // namespace tarnwell
