#include "common/system/os/file.h"

#include <gtest/gtest.h>

#include <functional>

#include "common/system/os/file_system.h"
#include "common/system/text/convert.h"
#include "support/temp_folder.h"

namespace tarnwell::test {
namespace {

namespace fs = std::filesystem;

/// The system's own files, with steps that fail where a test says so.
class CFaultyFileSystem final : public CFileSystem {
public:
    /// Says of each step, by its name, whether it fails.
    std::function<bool(std::string_view)> fails = [](std::string_view) { return false; };

    std::unique_ptr<COpenFile> OpenToRead(const CUTF16String& path) override {
        return Wrap(Native().OpenToRead(path));
    }
    std::unique_ptr<COpenFile> CreateNew(const CUTF16String& path, const CUTF16String& target,
                                         bool& taken) override {
        taken = fails("name");
        return taken || fails("create") ? nullptr : Wrap(Native().CreateNew(path, target, taken));
    }
    std::unique_ptr<COpenFile> OpenToWrite(const CUTF16String& path, bool& created) override {
        return fails("open") ? nullptr : Wrap(Native().OpenToWrite(path, created));
    }
    bool IsReplaceable(const CUTF16String& path) override { return Native().IsReplaceable(path); }
    bool Replace(const CUTF16String& from, const CUTF16String& to) override {
        EXPECT_EQ(m_openFiles, 0);
        EXPECT_EQ(fs::path(from.AsView()).parent_path(), fs::path(to.AsView()).parent_path());
        return !fails("replace") && Native().Replace(from, to);
    }
    void Remove(const CUTF16String& path) override { Native().Remove(path); }

private:
    class CFile final : public COpenFile {
    public:
        CFile(CFaultyFileSystem& system, std::unique_ptr<COpenFile> file)
            : m_system(system), m_file(std::move(file)) {
            ++m_system.m_openFiles;
        }
        ~CFile() override { --m_system.m_openFiles; }

        std::optional<std::uint64_t> Length() const noexcept override {
            return *m_file->Length() + (m_system.fails("claim more") ? 5 : 0);
        }
        std::size_t Read(std::span<unsigned char> bytes) noexcept override {
            return m_file->Read(bytes);
        }
        bool Write(std::span<const unsigned char> bytes) noexcept override {
            return !m_system.fails("write") && m_file->Write(bytes);
        }
        bool Flush() noexcept override { return !m_system.fails("flush") && m_file->Flush(); }
        bool SetLength(std::uint64_t length) noexcept override {
            return !m_system.fails("set length") && m_file->SetLength(length);
        }

    private:
        CFaultyFileSystem& m_system;
        const std::unique_ptr<COpenFile> m_file;
    };

    std::unique_ptr<COpenFile> Wrap(std::unique_ptr<COpenFile> file) {
        return file ? std::make_unique<CFile>(*this, std::move(file)) : nullptr;
    }

    int m_openFiles = 0;
};

std::string Read(const CUTF16String& path, std::uint64_t limit = 1 << 20,
                 CFileSystem& system = CFileSystem::Native()) {
    const CFileBytes bytes = ReadWholeFile(system, path, limit);
    return {reinterpret_cast<const char*>(bytes.Data()), bytes.Size()};
}

std::ptrdiff_t CountIn(const CTempFolder& folder) {
    return std::distance(fs::directory_iterator(folder.Path()), fs::directory_iterator());
}

TEST(WholeFile, HoldsExactlyItsBytesWhateverItsPath) {
    const CTempFolder folder;
    const fs::path before = fs::current_path();
    fs::current_path(folder.Path());
    fs::path longPath = folder.Path();
    for (int i = 0; i < 3; ++i) {
        longPath /= std::string(100, 'n');
        fs::create_directory(longPath);
    }
    std::string everyByte;
    for (int i = 0; i < 256 * 300; ++i)
        everyByte.push_back(static_cast<char>(i));
    for (const CUTF16String& path :
         {CUTF16String(u"relative"), Utf16(folder / "a \u00E9\U0001F512"),
          Utf16(longPath / "a.p7")})
        for (const std::string& content : {std::string("longer"), std::string(), everyByte}) {
            EXPECT_TRUE(WriteWholeFile(path, BytesOf(content)));
            EXPECT_EQ(Read(path), content);
        }
    fs::current_path(before);
    EXPECT_EQ(ReadBytes(folder / "relative"), everyByte);
    EXPECT_EQ(CountIn(folder), 3);
}

TEST(ReadWholeFile, TellsWhichFileItCouldNotReadAndWhy) {
    const CTempFolder folder;
    const CUTF16String file = Utf16(folder.Write("file", "12345"));
    const CUTF16String cut = file + std::u16string_view(u"\0.p7", 4);
    for (const CUTF16String& path :
         {Utf16(folder / "missing\u00E9"), Utf16(folder.Path()), CUTF16String(), cut, file}) {
        const std::string reading = "reading '" + std::string(Utf8FromUtf16(path).AsView());
        const char* const why = path == file ? "' failed: it is longer than 4 bytes" : "' failed!";
        try {
            ADD_FAILURE() << Read(path, 4);
        } catch (const CException& exception) {
            EXPECT_STREQ(exception.what(), (reading + why).c_str());
        }
    }
    EXPECT_EQ(Read(file, 5), "12345");
    CFaultyFileSystem system;
    system.fails = [](std::string_view step) { return step == "claim more"; };
    EXPECT_EQ(Read(file, 10, system), std::string("12345\0\0\0\0\0", 10));
}

TEST(WriteWholeFile, AnyOneFailingStepLeavesTheOldContentOrAllOfTheNew) {
    const std::string newContent = "new content, which is longer";
    for (const std::string old : {"", "old"})
        for (const bool folderTakesFiles : {true, false})
            for (int failing = 0, step = 0; step >= failing; ++failing) {
                SCOPED_TRACE(testing::Message() << old << folderTakesFiles << failing);
                const CTempFolder folder;
                const fs::path path = old.empty() ? folder / "a" : folder.Write("a", old);
                CFaultyFileSystem system;
                step = 0;
                system.fails = [&](std::string_view name) {
                    return (name == "create" && !folderTakesFiles) ||
                           (name != "claim more" && name != "name" && step++ == failing);
                };
                // One fault beside the file is made good by writing the file itself.
                const bool written = WriteWholeFile(system, Utf16(path), BytesOf(newContent));
                EXPECT_EQ(written, folderTakesFiles || step <= failing);
                const std::string left = fs::exists(path) ? ReadBytes(path) : "";
                EXPECT_TRUE(left == newContent || (!written && left == old)) << left;
                EXPECT_EQ(CountIn(folder), left.empty() ? 0 : 1);
            }
}

TEST(WriteWholeFile, TakesAnotherNameWhereOneIsTaken) {
    const CTempFolder folder;
    CFaultyFileSystem system;
    int taken = 5;
    system.fails = [&](std::string_view step) {
        return step == "open" || (step == "name" && taken-- > 0);
    };
    EXPECT_TRUE(WriteWholeFile(system, Utf16(folder / "a"), BytesOf("new")));
    taken = 1000;
    EXPECT_FALSE(WriteWholeFile(system, Utf16(folder / "a"), BytesOf("newer")));
    EXPECT_EQ(ReadBytes(folder / "a"), "new");
}

TEST(WriteWholeFile, WhereNothingCanBeWrittenItSaysSo) {
    const CTempFolder folder;
    folder.Write("folder/inside", "kept");
    for (const CUTF16String& path :
         {Utf16(folder / "folder"), Utf16(folder / "missing/file"), CUTF16String(),
          Utf16(folder / "cut") + std::u16string_view(u"\0.txt", 5)})
        EXPECT_FALSE(WriteWholeFile(path, BytesOf("x")));
    EXPECT_EQ(ReadBytes(folder / "folder/inside"), "kept");
    EXPECT_EQ(CountIn(folder), 1);
}

}  // namespace
}  // namespace tarnwell::test
