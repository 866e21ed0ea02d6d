#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "common/system/os/file.h"
#include "common/system/os/owners_win32.h"
#include "support/temp_folder.h"

namespace tarnwell {
namespace {

using test::ReadBytes;
using test::Utf16;

bool Write(const CUTF16String& path, std::string_view text) {
    return WriteWholeFile(path, {reinterpret_cast<const unsigned char*>(text.data()), text.size()});
}

TEST(WholeFile, WhatAnotherProgramHoldsIsReadAndWrittenAsFarAsItShares) {
    const test::CTempFolder folder;
    for (const DWORD share : {7, FILE_SHARE_READ | FILE_SHARE_WRITE, FILE_SHARE_READ, 0}) {
        SCOPED_TRACE(share);
        const std::filesystem::path path = folder.Write("a", "old and longer");
        {
            const CUniqueFile holder(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, share,
                                                 nullptr, OPEN_EXISTING, 0, nullptr));
            ASSERT_TRUE(holder) << "a round before this one has left it open";
            if (share == 0)
                EXPECT_THROW(ReadWholeFile(Utf16(path), 100), CException);
            else
                EXPECT_EQ(ReadWholeFile(Utf16(path), 100).Size(), 14U);
            EXPECT_EQ(Write(Utf16(path), "new"), (share & FILE_SHARE_WRITE) != 0);
        }
        EXPECT_EQ(ReadBytes(path), (share & FILE_SHARE_WRITE) != 0 ? "new" : "old and longer");
        std::filesystem::remove(path);
        EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
    }
}

TEST(WriteWholeFile, NothingGoesToAReadOnlyFileOrADevice) {
    const test::CTempFolder folder;
    const std::filesystem::path path = folder.Write("a", "old");
    ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_FALSE(Write(Utf16(path), "new"));
    EXPECT_EQ(ReadBytes(path), "old");
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_FALSE(Write(u"NUL", "x"));
}

}  // namespace
}  // namespace tarnwell
