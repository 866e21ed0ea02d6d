#include <gtest/gtest.h>

#include <filesystem>

#include "manager/core/files.h"
#include "support/temp_folder.h"

namespace tarnwell::manager {
namespace {

TEST(Files, KeepsAPrivateFolderFromOtherUsers) {
    const test::CTempFolder folder;
    const std::filesystem::path path = folder / "private";
    CFiles files;
    EXPECT_TRUE(files.MakePrivateFolder(path.u16string()));
    EXPECT_FALSE(files.MakePrivateFolder(path.u16string()));
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms::owner_all);
}

}  // namespace
}  // namespace tarnwell::manager
