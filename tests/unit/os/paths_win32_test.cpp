#include <gtest/gtest.h>

#include <filesystem>

#include "common/system/os/install_paths.h"
#include "common/system/os/long_path.h"
#include "common/system/os/windows.h"

namespace tarnwell {
namespace {

TEST(ProductFolder, LiesInTheFoldersOfThe64BitSystem) {
    const std::pair<EProductRoot, const wchar_t*> kCases[] = {
        {EProductRoot::kProgramFiles, L"ProgramW6432"},
        {EProductRoot::kProgramFiles64, L"ProgramW6432"},
        {EProductRoot::kProgramFiles32, L"ProgramFiles(x86)"},
        {EProductRoot::kRoamingAppData, L"APPDATA"},
    };
    for (const auto& [root, variable] : kCases) {
        wchar_t folder[512] = {};
        ASSERT_GT(GetEnvironmentVariableW(variable, folder, 512), 0U);
        EXPECT_EQ(ProductFolder(root), CUTF16String(Units(folder)) + u"\\Ostrel");
    }
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
