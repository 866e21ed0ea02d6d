#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <iterator>
#include <string>

#include "common/system/os/file.h"
#include "support/temp_folder.h"

namespace tarnwell {
namespace {

namespace fs = std::filesystem;
using test::CTempFolder;
using test::ReadBytes;
using test::Utf16;

std::span<const unsigned char> Bytes(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

/// Lets no file of this process grow beyond `bytes`, as on a full disk.
class CFullDisk {
public:
    explicit CFullDisk(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &m_before);
        m_handler = signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~CFullDisk() {
        setrlimit(RLIMIT_FSIZE, &m_before);
        signal(SIGXFSZ, m_handler);
    }

private:
    rlimit m_before = {};
    sighandler_t m_handler = SIG_DFL;
};

mode_t ModeOf(const fs::path& path) {
    struct stat status = {};
    stat(path.c_str(), &status);
    return status.st_mode & 0777;
}

TEST(ReadWholeFile, WhatHasNoLengthIsNotRead) {
    const CTempFolder folder;
    const fs::path pipe = folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const fs::path& path : {fs::path("/dev/zero"), fs::path("/dev/tty0"), pipe}) {
        if (!fs::exists(path))
            continue;
        try {
            ReadWholeFile(Utf16(path), UINT64_MAX);
            ADD_FAILURE() << path;
        } catch (const CException& exception) {
            EXPECT_EQ(std::string(exception.what()),
                      "stream.tellg failed on file: " + path.string());
        }
    }
}

TEST(ReadWholeFile, AHugeFileCostsNothing) {
    const CTempFolder folder;
    const fs::path path = folder.Write("sparse", "");
    fs::resize_file(path, std::uintmax_t{1} << 40);
    EXPECT_THROW(ReadWholeFile(Utf16(path), std::uint64_t{1} << 31), EFileTooLarge);
}

TEST(WriteWholeFile, AFullDiskLeavesTheOldContent) {
    const CTempFolder folder;
    const fs::path path = folder.Write("kept", "old content");
    const std::string large(20'000, 'x');
    {
        const CFullDisk disk(10'000);
        EXPECT_FALSE(WriteWholeFile(Utf16(path), Bytes(large)));
        EXPECT_FALSE(WriteWholeFile(Utf16(folder / "new"), Bytes(large)));
    }
    EXPECT_EQ(ReadBytes(path), "old content");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path()), fs::directory_iterator()), 1);
}

TEST(WriteWholeFile, DevicesAreWrittenAndNeverReplaced) {
    EXPECT_TRUE(WriteWholeFile(u"/dev/null", Bytes("x")));
    EXPECT_FALSE(WriteWholeFile(u"/dev/full", Bytes("x")));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST(WriteWholeFile, ALinkStaysOne) {
    const CTempFolder folder;
    const fs::path target = folder.Write("target", "old and longer");
    fs::create_symlink(target, folder / "link");
    EXPECT_TRUE(WriteWholeFile(Utf16(folder / "link"), Bytes("new")));
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(ReadBytes(target), "new");
    EXPECT_TRUE(WriteWholeFile(Utf16(folder / "link"), Bytes("longer than before")));
    EXPECT_EQ(ReadBytes(target), "longer than before");
}

TEST(WriteWholeFile, TheRightsOfAFileStay) {
    const CTempFolder folder;
    for (const mode_t mode : {mode_t{0600}, mode_t{0666}, mode_t{0755}}) {
        const fs::path path = folder.Write("a", "old");
        ASSERT_EQ(chmod(path.c_str(), mode), 0);
        EXPECT_TRUE(WriteWholeFile(Utf16(path), Bytes("new")));
        EXPECT_EQ(ModeOf(path), mode);
        EXPECT_EQ(ReadBytes(path), "new");
    }
}

}  // namespace
}  // namespace tarnwell
