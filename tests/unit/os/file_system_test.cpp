// Whole-file reading and writing over a file system whose every step can be made to fail.

#include "common/system/os/file_system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>

namespace tarnwell {
namespace {

/// Files in memory, on a disk with room for so many bytes.
class CMemoryFileSystem final : public CFileSystem {
public:
    std::map<std::u16string, std::string> files;
    std::size_t room = 1 << 20;
    /// Says of each step, by its name, whether it fails.
    std::function<bool(const std::string&)> fails = [](const std::string&) { return false; };

    std::unique_ptr<COpenFile> OpenToRead(const CUTF16String& path) override {
        return fails("open to read") ? nullptr : Open(path);
    }
    std::unique_ptr<COpenFile> CreateNew(const CUTF16String& path, const CUTF16String&,
                                         bool& taken) override {
        if (takenNames > 0) {
            --takenNames;
            taken = true;
            return nullptr;
        }
        if (fails("create"))
            return nullptr;
        EXPECT_FALSE(files.contains(Key(path)));
        files[Key(path)] = "";
        return Open(path);
    }
    std::unique_ptr<COpenFile> OpenToWrite(const CUTF16String& path, bool& created) override {
        if (fails("open to write"))
            return nullptr;
        created = !files.contains(Key(path));
        files[Key(path)];
        return Open(path);
    }
    bool IsReplaceable(const CUTF16String&) override { return !isDevice; }
    bool Replace(const CUTF16String& from, const CUTF16String& to) override {
        EXPECT_EQ(openFiles, 0);
        if (fails("replace"))
            return false;
        files[Key(to)] = files[Key(from)];
        files.erase(Key(from));
        return true;
    }
    void Remove(const CUTF16String& path) override {
        EXPECT_EQ(openFiles, 0);
        files.erase(Key(path));
    }

    int takenNames = 0;
    bool isDevice = false;
    int openFiles = 0;

private:
    class CMemoryFile final : public COpenFile {
    public:
        CMemoryFile(CMemoryFileSystem& system, std::u16string name)
            : m_system(system), m_name(std::move(name)) {
            ++m_system.openFiles;
        }
        ~CMemoryFile() override { --m_system.openFiles; }

        std::optional<std::uint64_t> Length() const noexcept override {
            if (m_system.isDevice)
                return std::nullopt;
            return Content().size() + (m_system.fails("claim more") ? 5 : 0);
        }
        std::size_t Read(std::span<unsigned char> bytes) noexcept override {
            const std::size_t count = std::min(bytes.size(), Content().size());
            std::copy_n(Content().begin(), count, bytes.begin());
            return count;
        }
        bool Write(std::span<const unsigned char> bytes) noexcept override {
            if (m_system.fails("write"))
                return false;
            std::string content(bytes.begin(), bytes.end());
            if (Content().size() > content.size())
                content += Content().substr(content.size());
            return Take(content);
        }
        bool Flush() noexcept override { return !m_system.fails("flush"); }
        bool SetLength(std::uint64_t length) noexcept override {
            if (m_system.fails("set length"))
                return false;
            std::string content = Content();
            content.resize(static_cast<std::size_t>(length), '\0');
            return Take(content);
        }

    private:
        std::string& Content() const { return m_system.files[m_name]; }
        bool Take(const std::string& content) {
            std::size_t used = content.size();
            for (const auto& [name, other] : m_system.files)
                used += name == m_name ? 0 : other.size();
            if (used > m_system.room)
                return false;
            Content() = content;
            return true;
        }

        CMemoryFileSystem& m_system;
        const std::u16string m_name;
    };

    static std::u16string Key(const CUTF16String& path) { return std::u16string(path.AsView()); }
    std::unique_ptr<COpenFile> Open(const CUTF16String& path) {
        if (!files.contains(Key(path)))
            return nullptr;
        return std::make_unique<CMemoryFile>(*this, Key(path));
    }
};

constexpr const char16_t* kPath = u"C:\\folder\\report.pdf";

bool Write(CMemoryFileSystem& system, const std::string& text) {
    return WriteWholeFile(system, kPath,
                          {reinterpret_cast<const unsigned char*>(text.data()), text.size()});
}

using Files = std::map<std::u16string, std::string>;

TEST(WriteWholeFile, TheNewFileLiesInTheSameFolderUntilItReplacesTheOld) {
    for (const auto& [path, folder] :
         std::map<std::u16string, std::u16string>{{u"C:\\folder\\report.pdf", u"C:\\folder\\"},
                                                  {u"C:/a/b/report", u"C:/a/b/"},
                                                  {u"C:report", u"C:"},
                                                  {u"report", u""}}) {
        CMemoryFileSystem system;
        system.files[path] = "old";
        Files between;
        system.fails = [&](const std::string& step) {
            if (step == "replace")
                between = system.files;
            return false;
        };
        const unsigned char bytes[] = {'n', 'e', 'w'};
        EXPECT_TRUE(WriteWholeFile(system, CUTF16String(std::u16string_view(path)), bytes));
        ASSERT_EQ(between.size(), 2U);
        EXPECT_EQ(between[path], "old");
        between.erase(path);
        const std::u16string name = between.begin()->first;
        EXPECT_TRUE(name.starts_with(folder));
        EXPECT_EQ(name.find_first_of(u"\\/:", folder.size()), std::u16string::npos);
        EXPECT_EQ(between.begin()->second, "new");
        EXPECT_EQ(system.files, (Files{{path, "new"}}));
    }
}

TEST(WriteWholeFile, AnyOneFailingStepLeavesTheOldContentOrAllOfTheNew) {
    const std::string newContent = "new content, which is longer";
    for (const bool exists : {false, true})
        for (const bool folderTakesFiles : {true, false})
            for (int failing = 0, step = 1; step > failing; ++failing) {
                SCOPED_TRACE(testing::Message() << exists << folderTakesFiles << failing);
                CMemoryFileSystem system;
                const Files before = exists ? Files{{kPath, "old"}} : Files();
                system.files = before;
                step = 0;
                system.fails = [&](const std::string& name) {
                    return (name == "create" && !folderTakesFiles) ||
                           (name != "claim more" && step++ == failing);
                };
                const Files after = {{kPath, newContent}};
                const bool written = Write(system, newContent);
                EXPECT_EQ(system.files, written || system.files == after ? after : before);
                EXPECT_EQ(system.openFiles, 0);
            }
}

TEST(WriteWholeFile, AFullDiskLeavesTheOldContentAndNothingElse) {
    const std::string old(600, 'o');
    CMemoryFileSystem system;
    system.files[kPath] = old;
    system.room = 1000;
    EXPECT_FALSE(Write(system, std::string(1001, 'n')));
    EXPECT_EQ(system.files, (Files{{kPath, old}}));
    EXPECT_FALSE(Write(system, std::string(2000, 'n')));
    EXPECT_EQ(system.files, (Files{{kPath, old}}));
}

TEST(WriteWholeFile, WhereADiskHoldsOnlyOneOfBothTheOldOneIsWrittenOver) {
    CMemoryFileSystem system;
    system.files[kPath] = std::string(600, 'o');
    system.room = 1000;
    EXPECT_TRUE(Write(system, std::string(500, 'n')));
    EXPECT_EQ(system.files, (Files{{kPath, std::string(500, 'n')}}));
    EXPECT_TRUE(Write(system, std::string(900, 'm')));
    EXPECT_EQ(system.files, (Files{{kPath, std::string(900, 'm')}}));
}

TEST(WriteWholeFile, TakesAnotherNameWhereOneIsTaken) {
    CMemoryFileSystem system;
    system.takenNames = 5;
    system.fails = [](const std::string& step) { return step == "open to write"; };
    EXPECT_TRUE(Write(system, "new"));
    system.takenNames = 1000;
    EXPECT_FALSE(Write(system, "newer"));
    EXPECT_EQ(system.files, (Files{{kPath, "new"}}));
}

TEST(WriteWholeFile, ADeviceIsWrittenAsItIs) {
    CMemoryFileSystem system;
    system.files[kPath] = "";
    system.isDevice = true;
    system.fails = [](const std::string& step) {
        return step == "create" || step == "replace" || step == "set length" || step == "flush";
    };
    EXPECT_TRUE(Write(system, "new"));
    EXPECT_EQ(system.files, (Files{{kPath, "new"}}));
}

TEST(ReadWholeFile, BytesThatCannotBeReadAreZero) {
    CMemoryFileSystem system;
    system.files[kPath] = "abc";
    system.fails = [](const std::string& step) { return step == "claim more"; };
    const CFileBytes bytes = ReadWholeFile(system, kPath, 8);
    ASSERT_EQ(bytes.Size(), 8U);
    EXPECT_EQ(std::string(bytes.Data(), bytes.Data() + 8), std::string("abc\0\0\0\0\0", 8));
    EXPECT_EQ(system.openFiles, 0);
}

}  // namespace
}  // namespace tarnwell
