#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <string>

#include "common/system/os/file.h"
#include "common/system/os/owners_win32.h"
#include "common/system/text/convert.h"
#include "support/temp_folder.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;
using test::CTempFolder;
using test::ReadBytes;
using test::Utf16;

constexpr std::uint64_t kLimit = 1 << 20;

std::span<const unsigned char> Bytes(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

CUniqueFile Hold(const fs::path& path, DWORD access, DWORD share) {
    return CUniqueFile(
        CreateFileW(path.c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr));
}

std::string MessageOf(const CUTF16String& path) {
    try {
        ReadWholeFile(path, kLimit);
        return "(read)";
    } catch (const CException& exception) {
        return exception.what();
    }
}

bool IsAlone(const CTempFolder& folder) {
    return std::distance(fs::directory_iterator(folder.Path()), fs::directory_iterator()) == 1;
}

TEST(ReadWholeFile, ReadsWhatAnotherProgramHasOpenForWriting) {
    const CTempFolder folder;
    const fs::path path = folder.Write("a", "abc");
    const CUniqueFile holder = Hold(path, GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    ASSERT_TRUE(holder);
    EXPECT_EQ(ReadWholeFile(Utf16(path), kLimit).Size(), 3U);
}

TEST(ReadWholeFile, AFileThatIsNotSharedCannotBeOpened) {
    const CTempFolder folder;
    const fs::path path = folder.Write("a", "abc");
    const CUniqueFile holder = Hold(path, GENERIC_READ, 0);
    const std::string name(Utf8FromUtf16(Utf16(path)).AsView());
    EXPECT_EQ(MessageOf(Utf16(path)), "reading '" + name + "' failed!");
}

TEST(ReadWholeFile, DevicesAndPipesHaveNoLength) {
    EXPECT_EQ(MessageOf(u"NUL"), "stream.tellg failed on file: NUL");
    const CUniqueFile server(CreateNamedPipeW(L"\\\\.\\pipe\\tarnwell file test",
                                              PIPE_ACCESS_OUTBOUND, PIPE_TYPE_BYTE, 1, 0, 0, 0,
                                              nullptr));
    ASSERT_TRUE(server);
    EXPECT_EQ(MessageOf(u"\\\\.\\pipe\\tarnwell file test"),
              "stream.tellg failed on file: \\\\.\\pipe\\tarnwell file test");
}

TEST(ReadWholeFile, ClosesTheFileOnEveryWay) {
    const CTempFolder folder;
    const fs::path path = folder.Write("a", "abc");
    ReadWholeFile(Utf16(path), kLimit);
    EXPECT_THROW(ReadWholeFile(Utf16(path), 1), EFileTooLarge);
    EXPECT_TRUE(Hold(path, GENERIC_READ, 0)) << "someone still holds it";
}

TEST(WriteWholeFile, AReadOnlyFileKeepsItsContent) {
    const CTempFolder folder;
    const fs::path path = folder.Write("a", "old");
    ASSERT_TRUE(SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_FALSE(WriteWholeFile(Utf16(path), Bytes("new")));
    EXPECT_EQ(ReadBytes(path), "old");
    EXPECT_TRUE(IsAlone(folder));
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST(WriteWholeFile, AFileThatIsHeldWithoutSharingKeepsItsContent) {
    const CTempFolder folder;
    const fs::path path = folder.Write("a", "old");
    {
        const CUniqueFile holder = Hold(path, GENERIC_READ, FILE_SHARE_READ);
        EXPECT_FALSE(WriteWholeFile(Utf16(path), Bytes("new")));
    }
    EXPECT_EQ(ReadBytes(path), "old");
    EXPECT_TRUE(IsAlone(folder));
}

TEST(WriteWholeFile, AFileThatIsHeldWithoutSharingDeletionIsWrittenInPlace) {
    const CTempFolder folder;
    const fs::path path = folder.Write("a", "old and longer");
    const CUniqueFile holder = Hold(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE);
    for (const char* content : {"new", "longer than it ever was", ""}) {
        EXPECT_TRUE(WriteWholeFile(Utf16(path), Bytes(content)));
        EXPECT_EQ(ReadBytes(path), content);
    }
    EXPECT_TRUE(IsAlone(folder));
}

TEST(WriteWholeFile, NothingGoesToADevice) {
    const CTempFolder folder;
    EXPECT_FALSE(WriteWholeFile(u"NUL", Bytes("x")));
}

}  // namespace
}  // namespace tarnwell
