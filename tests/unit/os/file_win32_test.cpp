#include <gtest/gtest.h>

#include "common/system/os/file.h"
#include "common/system/os/owners_win32.h"
#include "support/temp_folder.h"

namespace tarnwell::test {
namespace {

TEST(WholeFile, WhatAnotherProgramHoldsIsReadAndWrittenAsFarAsItShares) {
    const CTempFolder folder;
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
            EXPECT_EQ(WriteWholeFile(Utf16(path), BytesOf("new")), (share & FILE_SHARE_WRITE) != 0);
        }
        EXPECT_EQ(ReadBytes(path), (share & FILE_SHARE_WRITE) != 0 ? "new" : "old and longer");
        std::filesystem::remove(path);
        EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
    }
}

TEST(WriteWholeFile, NothingGoesToAReadOnlyFileOrADevice) {
    const CTempFolder folder;
    const std::filesystem::path path = folder.Write("a", "old");
    ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_FALSE(WriteWholeFile(Utf16(path), BytesOf("new")));
    EXPECT_EQ(ReadBytes(path), "old");
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_FALSE(WriteWholeFile(u"NUL", BytesOf("x")));
}

TEST(WriteWholeFile, AReplacedFilesRightsStay) {
    const CTempFolder folder;
    const std::filesystem::path path = folder.Write("a", "old");
    alignas(void*) char descriptor[1024] = {};
    const auto rights = [&] {
        DWORD size = 0;
        EXPECT_TRUE(GetFileSecurityW(path.c_str(), DACL_SECURITY_INFORMATION, descriptor,
                                     sizeof descriptor, &size));
        return std::string(descriptor, size);
    };
    const std::string ofNewFiles = rights();
    BOOL flag = FALSE;
    ACL* list = nullptr;
    ASSERT_TRUE(GetSecurityDescriptorDacl(descriptor, &flag, &list, &flag) && list);
    ASSERT_TRUE(DeleteAce(list, list->AceCount - 1UL));
    ASSERT_TRUE(SetFileSecurityW(
        path.c_str(), DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, descriptor));
    const std::string fewer = rights();
    ASSERT_NE(fewer, ofNewFiles);
    EXPECT_TRUE(WriteWholeFile(Utf16(path), BytesOf("new")));
    EXPECT_EQ(rights(), fewer);
}

}  // namespace
}  // namespace tarnwell::test
