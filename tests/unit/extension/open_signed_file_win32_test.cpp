#include "tarnwell/win32/open_signed_file.h"

#include "common/system/os/owners_win32.h"
#include "common/system/text/convert.h"
#include "support/heap_checks.h"
#include "support/process_counts_win32.h"
#include "support/temp_folder.h"
#include "support/test_paths.h"
#include "support/trace_listener.h"
#include "tarnwell/win32/manager_request.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarnwell {
namespace {

namespace fs = std::filesystem;

constexpr const char* kContent = "Orchard: forty baskets.\n";  // of bc-rsa.p7

std::vector<CUTF16String> s_opened;
std::intptr_t s_shellResult;

std::intptr_t Record(const CUTF16String& file) {
    s_opened.push_back(file);
    return s_shellResult;
}

/// Files of the corpus in a folder of the test's own, under other names.
class OpenSignedFileTest : public testing::Test {
protected:
    OpenSignedFileTest() {
        s_opened.clear();
        s_shellResult = 33;
    }

    CUTF16String Put(const char* fromCorpus, const char* name) const {
        return test::Utf16(m_folder.Write(
            name, test::ReadBytes(test::TestDataPath(std::string("corpus/") + fromCorpus))));
    }

    /// The names of all files in the folder, sorted.
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(m_folder.Path()))
            names.push_back(Utf8FromUtf16(entry.path().filename().u16string()).CStr());
        std::sort(names.begin(), names.end());
        return names;
    }

    test::CTempFolder m_folder;
};

TEST_F(OpenSignedFileTest, WritesTheContentBesideAndOpensIt) {
    EXPECT_EQ(OpenSignedFile(Put("bc-rsa.p7", "r\u00e9port, 1.txt.p7m"), &Record), kResultDone);
    EXPECT_EQ(test::ReadBytes(m_folder / "r\u00e9port, 1.txt"), kContent);
    ASSERT_EQ(s_opened.size(), 1u);
    EXPECT_TRUE(s_opened[0] == test::Utf16(m_folder / "r\u00e9port, 1.txt"));
}

TEST_F(OpenSignedFileTest, OnlySignedFilesAreOpened) {
    const std::string notSigned = "The file is not only signed";
    const std::string unreadable = "Failed to create PKCS7 from encrypted file";
    const struct {
        const char* file;
        std::vector<std::string> messages;
    } cases[] = {{"bc-env-3des.p7m", {notSigned}},
                 {"capi-sae-noattr.p7m", {notSigned}},
                 {"bc-compressed.p7", {notSigned}},
                 {"nonp7-html.p7", {unreadable}}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.file);
        const std::vector<std::string> before = [&] {
            Put(each.file, "a.txt.p7");
            return Names();
        }();
        const test::CTraceListener trace;
        EXPECT_EQ(OpenSignedFile(test::Utf16(m_folder / "a.txt.p7"), &Record), kResultFailed);
        EXPECT_EQ(trace.Messages(), each.messages);
        EXPECT_EQ(Names(), before);
        EXPECT_TRUE(s_opened.empty());
    }
}

TEST_F(OpenSignedFileTest, AMissingFileIsAPlainFailure) {
    const test::CTraceListener trace;
    EXPECT_EQ(OpenSignedFile(test::Utf16(m_folder / "none.p7"), &Record), kResultFailed);
    EXPECT_EQ(OpenSignedFile(CUTF16String(), &Record), kResultFailed);
    EXPECT_TRUE(trace.Lines().empty());
    EXPECT_TRUE(s_opened.empty());
}

// Opening shows what was signed whether or not it still verifies.
TEST_F(OpenSignedFileTest, TheSignatureIsNotJudged) {
    EXPECT_EQ(OpenSignedFile(Put("hand-bad-signature.p7", "a.txt.p7"), &Record), kResultDone);
    EXPECT_EQ(fs::file_size(m_folder / "a.txt"), 28u);
}

TEST_F(OpenSignedFileTest, ANameWithoutDotIsOpenedItself) {
    const CUTF16String file = Put("bc-rsa.p7", "signed");
    ASSERT_EQ(file.FindLast(u'.'), CUTF16String::npos) << "the folder's own name has a dot";
    EXPECT_EQ(OpenSignedFile(file, &Record), kResultDone);
    ASSERT_EQ(s_opened.size(), 1u);
    EXPECT_TRUE(s_opened[0] == file);
    EXPECT_EQ(Names(), std::vector<std::string>{"signed"});
}

TEST_F(OpenSignedFileTest, TheShellFailsBelow32AndTheContentStays) {
    const CUTF16String file = Put("bc-rsa.p7", "a.txt.p7");
    const struct {
        std::intptr_t shell;
        ResultCode result;
    } cases[] = {{0, kResultOpenFailed}, {31, kResultOpenFailed}, {32, kResultDone}};
    for (const auto& each : cases) {
        s_shellResult = each.shell;
        const test::CTraceListener trace;
        EXPECT_EQ(OpenSignedFile(file, &Record), each.result);
        EXPECT_EQ(trace.Count("We could not open file"), each.result == kResultDone ? 0u : 1u);
        EXPECT_EQ(test::ReadBytes(m_folder / "a.txt"), kContent);
    }
    const auto failing = [](const CUTF16String&) -> std::intptr_t { throw std::bad_alloc(); };
    EXPECT_EQ(OpenSignedFile(file, failing), kResultFailed);
}

TEST_F(OpenSignedFileTest, ReplacesAnOlderContent) {
    m_folder.Write("a.txt", std::string(100000, 'x'));
    EXPECT_EQ(OpenSignedFile(Put("bc-rsa.p7", "a.txt.p7"), &Record), kResultDone);
    EXPECT_EQ(test::ReadBytes(m_folder / "a.txt"), kContent);
    EXPECT_EQ(Names(), (std::vector<std::string>{"a.txt", "a.txt.p7"}));
}

TEST_F(OpenSignedFileTest, AContentThatCannotBeReplacedKeepsWhatItHad) {
    m_folder.Write("a.txt", "old and longer than the new content of the file");
    const CUTF16String file = Put("bc-rsa.p7", "a.txt.p7");
    {
        const CUniqueFile held(CreateFileW((m_folder / "a.txt").c_str(), GENERIC_READ,
                                           FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        ASSERT_TRUE(held);
        EXPECT_EQ(OpenSignedFile(file, &Record), kResultDone);
    }
    EXPECT_EQ(test::ReadBytes(m_folder / "a.txt"),
              "old and longer than the new content of the file");
    EXPECT_EQ(Names(), (std::vector<std::string>{"a.txt", "a.txt.p7"}));
}

TEST_F(OpenSignedFileTest, IsWhatTheRequestDoesForItsFirstFile) {
    ManagerSurroundings surroundings;
    surroundings.openFile = &Record;
    surroundings.createPipe = [](CUniqueHandle&, CUniqueHandle&) -> bool {
        throw std::logic_error("nothing is sent");
    };
    const std::vector<CUTF16String> files{Put("bc-rsa.p7", "1.txt.p7"),
                                          Put("bc-rsa.p7", "2.txt.p7")};
    const test::CTraceListener trace;
    EXPECT_EQ(SendToServer(kActionOpen, files, surroundings), kResultDone);
    EXPECT_EQ(Names(), (std::vector<std::string>{"1.txt", "1.txt.p7", "2.txt.p7"}));
    const std::vector<std::string> lines = trace.Lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.front(), "enter SendToServer");
    EXPECT_EQ(lines.back(), "leave SendToServer");
    s_shellResult = 2;
    EXPECT_EQ(SendToServer(kActionOpen, files, surroundings), kResultOpenFailed);
}

TEST_F(OpenSignedFileTest, KeepsNothingOfTheFilesItOpened) {
    if (test::UnderHeapChecks())
        GTEST_SKIP() << "a checked heap keeps released blocks for a while";
    const CUTF16String good = Put("bc-rsa.p7", "a.txt.p7");
    const CUTF16String encrypted = Put("bc-env-3des.p7m", "b.txt.p7");
    const CUTF16String broken = Put("nonp7-html.p7", "c.txt.p7");
    s_opened.reserve(1000);
    const auto rounds = [&](int count) {
        for (int i = 0; i < count; ++i)
            for (const CUTF16String& file : {good, encrypted, broken})
                OpenSignedFile(file, [](const CUTF16String&) -> std::intptr_t { return 33; });
    };
    rounds(3);
    const std::size_t heap = test::HeapBytes();
    const std::size_t handles = test::OpenHandleCount();
    rounds(100);
    // A lost structure or certificate a round would add many times this.
    EXPECT_LT(test::HeapBytes(), heap + 1024);
    EXPECT_EQ(test::OpenHandleCount(), handles);
}

/// A file type of the test's own, opened by copying the file to "<its name>.seen".
class OpenWithShellTest : public OpenSignedFileTest {
protected:
    OpenWithShellTest() {
        const std::wstring command = L"cmd.exe /c copy \"%1\" \"%1.seen\"";
        RegSetKeyValueW(HKEY_CLASSES_ROOT, L".twtest", nullptr, REG_SZ, L"twtestfile", 22);
        RegSetKeyValueW(HKEY_CLASSES_ROOT, L"twtestfile\\shell\\open\\command", nullptr, REG_SZ,
                        command.c_str(), static_cast<DWORD>((command.size() + 1) * 2));
    }
    ~OpenWithShellTest() override {
        RegDeleteTreeW(HKEY_CLASSES_ROOT, L".twtest");
        RegDeleteTreeW(HKEY_CLASSES_ROOT, L"twtestfile");
    }
};

TEST_F(OpenWithShellTest, StartsTheProgramThatIsRegisteredForTheContent) {
    EXPECT_EQ(OpenSignedFile(Put("bc-rsa.p7", "a b.twtest.p7")), kResultDone);
    const fs::path seen = m_folder / "a b.twtest.seen";
    for (int i = 0; i < 100 && !fs::exists(seen); ++i)
        Sleep(50);
    EXPECT_TRUE(fs::exists(seen));
}

TEST_F(OpenWithShellTest, WithoutARegisteredProgramTheContentStays) {
    const test::CTraceListener trace;
    EXPECT_EQ(OpenSignedFile(Put("bc-rsa.p7", "a.twnobody.p7")), kResultOpenFailed);
    EXPECT_EQ(trace.Count("We could not open file"), 1u);
    EXPECT_EQ(test::ReadBytes(m_folder / "a.twnobody"), kContent);
}

}  // namespace
}  // namespace tarnwell
