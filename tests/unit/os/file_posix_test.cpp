#include <gmock/gmock.h>
#include <sys/stat.h>

#include "common/system/os/file.h"
#include "support/temp_folder.h"

namespace tarnwell::test {
namespace {

namespace fs = std::filesystem;

TEST(ReadWholeFile, WhatHasNoLengthOrAHugeOneIsNotRead) {
    const CTempFolder folder;
    const fs::path pipe = folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const fs::path& path : {fs::path("/dev/zero"), pipe})
        EXPECT_THAT(
            [&] { ReadWholeFile(Utf16(path), UINT64_MAX); },
            testing::ThrowsMessage<CException>("stream.tellg failed on file: " + path.string()));
    const fs::path sparse = folder.WriteZeros("sparse", std::uint64_t{1} << 40);
    EXPECT_THROW(ReadWholeFile(Utf16(sparse), std::uint64_t{1} << 31), EFileTooLarge);
}

TEST(WriteWholeFile, DevicesLinksAndRightsStay) {
    EXPECT_TRUE(WriteWholeFile(u"/dev/null", BytesOf("x")));
    EXPECT_FALSE(WriteWholeFile(u"/dev/full", BytesOf("x")));
    EXPECT_TRUE(fs::is_character_file("/dev/full"));

    const CTempFolder folder;
    const fs::path target = folder.Write("target", "old and longer");
    fs::create_symlink(target, folder / "link");
    fs::permissions(target, fs::perms(0666));
    for (const char* content : {"new", "longer than before"}) {
        EXPECT_TRUE(WriteWholeFile(Utf16(folder / "link"), BytesOf(content)));
        EXPECT_TRUE(fs::is_symlink(folder / "link"));
        EXPECT_EQ(ReadBytes(target), content);
    }
    EXPECT_TRUE(WriteWholeFile(Utf16(target), BytesOf("replaced")));
    EXPECT_EQ(fs::status(target).permissions(), fs::perms(0666)) << "whatever the mask";
}

}  // namespace
}  // namespace tarnwell::test
