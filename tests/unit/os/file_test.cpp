#include "common/system/os/file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "common/system/text/convert.h"
#include "support/temp_folder.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;
using test::CTempFolder;
using test::ReadBytes;
using test::Utf16;

constexpr std::uint64_t kLimit = 1 << 20;

std::string Text(const CFileBytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.Data()), bytes.Size()};
}

std::span<const unsigned char> Bytes(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::string MessageOf(const CUTF16String& path, std::uint64_t limit = kLimit) {
    try {
        ReadWholeFile(path, limit);
        return "(read)";
    } catch (const CException& exception) {
        return exception.what();
    }
}

std::string EveryByte() {
    std::string bytes;
    for (int i = 0; i < 256 * 300; ++i)
        bytes.push_back(static_cast<char>(i));
    return bytes;
}

/// How many things lie in a folder: one more than expected is a file left behind.
std::ptrdiff_t CountIn(const fs::path& folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

/// A path of more than 260 units in `folder`, its own folders made.
CUTF16String LongPath(const CTempFolder& folder) {
    CUTF16String path = Utf16(folder.Path());
    constexpr char16_t separator = fs::path::preferred_separator;
    for (int i = 0; i < 3; ++i) {
        path.AppendUnit(separator);
        path += std::u16string(100, u'n');
        fs::create_directory(fs::path(path.AsView()));
    }
    path.AppendUnit(separator);
    return path + u"a.p7";
}

TEST(ReadWholeFile, GivesEveryByte) {
    const CTempFolder folder;
    EXPECT_EQ(Text(ReadWholeFile(Utf16(folder.Write("a b.p7", EveryByte())), kLimit)), EveryByte());
    EXPECT_EQ(ReadWholeFile(Utf16(folder.Write("empty", "")), kLimit).Size(), 0U);
    EXPECT_EQ(Text(ReadWholeFile(Utf16(folder.Write("\xC3\xA9\xF0\x9F\x94\x92.p7", "x")), kLimit)),
              "x");
}

TEST(ReadWholeFile, TellsWhichFileItCouldNotOpen) {
    const CTempFolder folder;
    for (const CUTF16String& path :
         {Utf16(folder / "missing\xC3\xA9"), Utf16(folder.Path()), CUTF16String(),
          Utf16(folder.Write("file", "x")) + std::u16string_view(u"\0.p7", 4)}) {
        const std::string expected =
            "reading '" + std::string(Utf8FromUtf16(path).AsView()) + "' failed!";
        EXPECT_EQ(MessageOf(path), expected.c_str());
    }
}

TEST(ReadWholeFile, RefusesAFileThatIsTooLong) {
    const CTempFolder folder;
    const CUTF16String path = Utf16(folder.Write("a", "12345"));
    EXPECT_EQ(ReadWholeFile(path, 5).Size(), 5U);
    EXPECT_THROW(ReadWholeFile(path, 4), EFileTooLarge);
    EXPECT_THROW(ReadWholeFile(path, 0), EFileTooLarge);
    EXPECT_EQ(MessageOf(path, 4), "reading '" + std::string(Utf8FromUtf16(path).AsView()) +
                                      "' failed: it is longer than 4 bytes");
}

TEST(ReadWholeFile, LeavesTheFileToOthers) {
    const CTempFolder folder;
    const fs::path path = folder.Write("a", "old");
    std::ofstream writer(path, std::ios::binary | std::ios::app);
    EXPECT_EQ(Text(ReadWholeFile(Utf16(path), kLimit)), "old");
    writer.close();
    EXPECT_TRUE(fs::remove(path));
}

TEST(WholeFile, PathsBeyond260UnitsAreWrittenAndRead) {
    const CTempFolder folder;
    const CUTF16String path = LongPath(folder);
    ASSERT_GT(path.Length(), 300U);
    EXPECT_TRUE(WriteWholeFile(path, Bytes("first")));
    EXPECT_TRUE(WriteWholeFile(path, Bytes("second")));
    EXPECT_EQ(Text(ReadWholeFile(path, kLimit)), "second");
}

TEST(CFileBytes, MovesAndGivesBack) {
    const CTempFolder folder;
    CFileBytes first = ReadWholeFile(Utf16(folder.Write("a", "abc")), kLimit);
    CFileBytes second = std::move(first);
    EXPECT_TRUE(first.IsEmpty());
    EXPECT_EQ(Text(second), "abc");
    first = std::move(second);
    EXPECT_TRUE(second.IsEmpty());
    EXPECT_EQ(first.AsSpan().size(), 3U);
    first.Reset();
    EXPECT_TRUE(first.IsEmpty());
    EXPECT_EQ(first.Data(), nullptr);
}

TEST(WriteWholeFile, MakesAndReplacesAFile) {
    const CTempFolder folder;
    const fs::path path = folder / "r\xC3\xA9port.pdf";
    for (const std::string& content : {EveryByte(), std::string("shorter"), std::string()}) {
        EXPECT_TRUE(WriteWholeFile(Utf16(path), Bytes(content)));
        EXPECT_EQ(ReadBytes(path), content);
        EXPECT_EQ(CountIn(folder.Path()), 1);
    }
}

TEST(WriteWholeFile, WritesARelativePath) {
    const CTempFolder folder;
    const fs::path before = fs::current_path();
    fs::current_path(folder.Path());
    EXPECT_TRUE(WriteWholeFile(u"plain", Bytes("x")));
    EXPECT_EQ(Text(ReadWholeFile(u"plain", kLimit)), "x");
    EXPECT_EQ(CountIn(folder.Path()), 1);
    fs::current_path(before);
}

TEST(WriteWholeFile, WhereNothingCanBeWrittenItSaysSo) {
    const CTempFolder folder;
    folder.Write("folder/inside", "kept");
    EXPECT_FALSE(WriteWholeFile(Utf16(folder / "folder"), Bytes("x")));
    EXPECT_FALSE(WriteWholeFile(Utf16(folder / "missing/file"), Bytes("x")));
    EXPECT_FALSE(WriteWholeFile(u"", Bytes("x")));
    EXPECT_FALSE(
        WriteWholeFile(Utf16(folder / "cut") + std::u16string_view(u"\0.txt", 5), Bytes("x")));
    EXPECT_EQ(ReadBytes(folder / "folder/inside"), "kept");
    EXPECT_EQ(CountIn(folder.Path()), 1);
}

}  // namespace
}  // namespace tarnwell
