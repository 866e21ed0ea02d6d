#include "manager/core/files.h"

#include <gtest/gtest.h>

#include "support/temp_folder.h"

namespace tarnwell::manager {
namespace {

TEST(Files, MovesOnlyToNamesThatAreFree) {
    const test::CTempFolder folder;
    const auto path = [&](std::string_view name) {
        return std::u16string(test::Utf16(folder / name).AsView());
    };
    CFiles files;
    folder.Write("from", "new");
    folder.Write("taken", "old");
    folder.Write("full/file", "x");
    EXPECT_EQ(files.MoveNew(path("from"), path("taken")), Move::kTaken);
    EXPECT_EQ(files.MoveNew(path("from"), path("full")), Move::kTaken);
    EXPECT_EQ(test::ReadBytes(folder / "taken"), "old");
    EXPECT_EQ(files.MoveNew(path("from"), path("no such folder/to")), Move::kFailed);
    EXPECT_EQ(files.MoveNew(path("from"), path("to")), Move::kMoved);
    EXPECT_EQ(files.MoveNew(path("from"), path("again")), Move::kFailed);
    EXPECT_EQ(test::ReadBytes(folder / "to"), "new");

    EXPECT_TRUE(files.MakeFolders(path("empty")));
    EXPECT_EQ(files.MoveNew(path("empty"), path("full")), Move::kTaken);
    EXPECT_EQ(files.MoveNew(path("empty"), path("moved")), Move::kMoved);
    EXPECT_TRUE(files.IsFolder(path("moved")));
    EXPECT_FALSE(files.IsFile(path("moved")));
    EXPECT_TRUE(files.IsFile(path("to")));
    EXPECT_FALSE(files.IsFile(path("from")));
}

TEST(Files, MakesAndRemovesFolders) {
    const test::CTempFolder folder;
    const auto path = [&](std::string_view name) {
        return std::u16string(test::Utf16(folder / name).AsView());
    };
    CFiles files;
    const std::u16string deep =
        Join(Join(Join(path("a"), u"b"), std::u16string(120, u'c')), std::u16string(120, u'd'));
    EXPECT_TRUE(files.MakeFolders(deep));
    EXPECT_TRUE(files.MakeFolders(deep));
    EXPECT_TRUE(files.IsFolder(deep));
    EXPECT_TRUE(files.MakePrivateFolder(Join(deep, u"e")));
    files.Remove(Join(deep, u"e"));
    EXPECT_FALSE(files.IsFolder(Join(deep, u"e")));
    folder.Write("file", "x");
    EXPECT_FALSE(files.MakeFolders(Join(path("file"), u"below")));
}

}  // namespace
}  // namespace tarnwell::manager
