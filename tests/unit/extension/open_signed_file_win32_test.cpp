#include "tarnwell/win32/open_signed_file.h"

#include "common/system/os/owners_win32.h"
#include "common/system/os/process_counts.h"
#include "common/system/text/convert.h"
#include "support/heap_checks.h"
#include "support/temp_folder.h"
#include "support/test_paths.h"
#include "support/trace_listener.h"
#include "tarnwell/win32/manager_request.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <new>
#include <set>
#include <string>
#include <vector>

namespace tarnwell {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

constexpr const char* kContent = "Orchard: forty baskets.\n";  // of bc-rsa.p7

std::set<fs::path> s_opened;
std::intptr_t s_shellResult;

std::intptr_t Record(const CUTF16String& file) {
    s_opened.emplace(Wide(file));
    return s_shellResult;
}

/// Files of the corpus in a folder of the test's own, under other names.
class OpenSignedFileTest : public testing::Test {
protected:
    OpenSignedFileTest() { s_shellResult = 33; }

    CUTF16String Put(const std::string& fromCorpus, const char* name) const {
        return test::Utf16(
            m_folder.Write(name, test::ReadBytes(test::TestDataPath("corpus/" + fromCorpus))));
    }

    std::set<fs::path> Files() const {
        return {fs::directory_iterator(m_folder.Path()), fs::directory_iterator()};
    }

    test::CTempFolder m_folder;
};

TEST_F(OpenSignedFileTest, WritesTheContentOfTheFirstSignedFileBesideItAndOpensIt) {
    ManagerSurroundings surroundings;
    surroundings.openFile = &Record;
    surroundings.createPipe = [](auto&, auto&) -> bool { throw "the manager is not needed"; };
    const char* notSigned = "The file is not only signed";
    const char* unreadable = "Failed to create PKCS7 from encrypted file";
    const struct {
        const char* file;
        const char* name;
        std::intptr_t shell;
        ResultCode result;
        const char* opened = nullptr;
        const char* message = nullptr;
    } cases[] = {
        {"bc-rsa.p7", "r\u00e9port, 1.txt.p7m", 33, kResultDone, "r\u00e9port, 1.txt"},
        {"bc-rsa.p7", "32.txt.p7", 32, kResultDone, "32.txt"},
        {"bc-rsa.p7", "31.p7", 31, kResultOpenFailed, "31", "We could not open file"},
        {"bc-rsa.p7", "no dot", 33, kResultDone, "no dot"},
        {"hand-bad-signature.p7", "a.p7", 33, kResultDone, "a"},  // signatures are not judged
        {"bc-env-3des.p7m", "b.p7", 33, kResultFailed, nullptr, notSigned},
        {"capi-sae-noattr.p7m", "c.p7", 33, kResultFailed, nullptr, notSigned},
        {"nonp7-html.p7", "d.p7", 33, kResultFailed, nullptr, unreadable},
        {nullptr, "missing.p7", 33, kResultFailed},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        s_opened.clear();
        s_shellResult = each.shell;
        if (each.file)
            Put(each.file, each.name);
        std::set<fs::path> files = Files(), opened;
        if (each.opened)
            opened.insert(m_folder / each.opened);
        const CUTF16String selected[] = {test::Utf16(m_folder / each.name), u"C:\\second.p7"};
        const test::CTraceListener trace;
        EXPECT_EQ(SendToServer(kActionOpen, selected, surroundings), each.result);
        EXPECT_EQ(trace.Messages(), each.message ? Lines{each.message} : Lines());
        EXPECT_EQ(s_opened, opened);
        files.merge(opened);
        EXPECT_EQ(Files(), files);
    }
    EXPECT_EQ(SendToServer(kActionOpen, {}, surroundings), kResultFailed);
    EXPECT_EQ(test::ReadBytes(m_folder / "r\u00e9port, 1.txt"), kContent);
    EXPECT_EQ(test::ReadBytes(m_folder / "31"), kContent);
    EXPECT_EQ(fs::file_size(m_folder / "a"), 28u);
}

TEST_F(OpenSignedFileTest, NeverTruncatesAnOlderContent) {
    const std::string old(100000, 'x');
    const fs::path target = m_folder.Write("a.txt", old);
    const CUTF16String file = Put("bc-rsa.p7", "a.txt.p7");
    const std::set<fs::path> files = Files();
    CUniqueFile held(CreateFileW(target.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                 OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(held);
    EXPECT_EQ(OpenSignedFile(file, &Record), kResultDone);
    EXPECT_EQ(test::ReadBytes(target), old);
    held.Reset();
    EXPECT_EQ(OpenSignedFile(file, &Record), kResultDone);
    EXPECT_EQ(test::ReadBytes(target), kContent);
    EXPECT_EQ(Files(), files);
}

TEST_F(OpenSignedFileTest, WithoutAProgramForTheContentItStays) {
    EXPECT_EQ(OpenSignedFile(Put("bc-rsa.p7", "a.twnobody.p7")), kResultOpenFailed);
    EXPECT_EQ(test::ReadBytes(m_folder / "a.twnobody"), kContent);
}

TEST_F(OpenSignedFileTest, KeepsNothingOfTheFilesItOpened) {
    if (test::UnderHeapChecks())
        GTEST_SKIP() << "a checked heap keeps released blocks for a while";
    const CUTF16String files[] = {Put("bc-rsa.p7", "a.txt.p7"), Put("bc-env-3des.p7m", "b.txt.p7"),
                                  Put("nonp7-html.p7", "c.txt.p7")};
    const ShellOpener failing = [](auto&) -> std::intptr_t { throw std::bad_alloc(); };
    const auto rounds = [&](int count) {
        for (int i = 0; i < count; ++i)
            for (const CUTF16String& file : files)
                EXPECT_EQ(OpenSignedFile(file, failing), kResultFailed);
    };
    rounds(3);
    CountProcess();
    const ProcessCounts before = CountProcess();
    rounds(100);
    const ProcessCounts after = CountProcess();
    // A lost structure or certificate a round would add many times this.
    EXPECT_LT(after.heapBytes, before.heapBytes + 1024);
    EXPECT_EQ(after.handles, before.handles);
    EXPECT_NE(after.handles, 0u);
}

}  // namespace
}  // namespace tarnwell
