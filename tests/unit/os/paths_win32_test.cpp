#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>

#include "common/system/os/install_paths.h"
#include "common/system/os/long_path.h"
#include "common/system/os/windows.h"

namespace tarnwell {
namespace {

CUTF16String Environment(const wchar_t* name) {
    wchar_t value[512] = {};
    GetEnvironmentVariableW(name, value, 512);
    return Units(value);
}

TEST(InstallPaths, AreTheSystems) {
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    EXPECT_EQ(ModulePath(), Units(program));
    const CUTF16String folder64 = Environment(L"ProgramW6432");
    const CUTF16String folder32 = Environment(L"ProgramFiles(x86)");
    EXPECT_FALSE(folder64.IsEmpty());
    EXPECT_EQ(ProgramFilesFolders::Fetch().programFiles64, folder64);
    EXPECT_EQ(ProgramFilesFolders::Fetch().programFiles32, folder32);
    EXPECT_EQ(ProductFolder(EProductRoot::kProgramFiles), folder64 + u"\\Ostrel");
    EXPECT_EQ(ProductFolder(EProductRoot::kProgramFiles64), folder64 + u"\\Ostrel");
    EXPECT_EQ(ProductFolder(EProductRoot::kProgramFiles32), folder32 + u"\\Ostrel");
    EXPECT_EQ(ProductFolder(EProductRoot::kRoamingAppData), Environment(L"APPDATA") + u"\\Ostrel");
}

TEST(OpenablePath, APathOf260UnitsAndMoreIsExtendedAndNormalised) {
    const std::u16string fits(256, u'n');
    const std::u16string name(257, u'n');
    const std::u16string here = std::filesystem::current_path().u16string() + u"\\";
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"C:/a/..\\b.p7", u"C:/a/..\\b.p7"},
        {u"C:\\" + fits, u"C:\\" + fits},
        {u"C:/a/..\\" + name, u"\\\\?\\C:\\" + name},
        {u"\\\\?\\C:\\" + name, u"\\\\?\\C:\\" + name},
        {u"//server/share/" + name, u"\\\\?\\UNC\\server\\share\\" + name},
        {fits, u"\\\\?\\" + here + fits},
    };
    for (const auto& [path, openable] : cases)
        EXPECT_EQ(OpenablePath(CUTF16String(path)), CUTF16String(openable));
}

}  // namespace
}  // namespace tarnwell
