#include "zellog/rolling_file.h"

#include <gmock/gmock.h>

#include <atomic>
#include <set>
#include <sstream>
#include <thread>

#include "support/temp_folder.h"

namespace tarnwell::zellog {
namespace {

using test::ReadBytes;
using testing::ElementsAre;

constexpr const char* kName = "trace.log";

RollingFileHandle::Value OpenSharing(const std::filesystem::path& path, DWORD sharing) {
    return CreateFileW(path.c_str(), GENERIC_READ | FILE_APPEND_DATA, sharing, nullptr,
                       OPEN_EXISTING, 0, nullptr);
}
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
using CFile = CUnique<RollingFileHandle>;

class CRollingFileTest : public testing::Test {
protected:
    /// Fill makes the trace file as long as `bytes`.
    void Fill(std::uint64_t bytes) { m_folder.WriteZeros(kName, bytes); }
    std::set<std::string> Names() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path()))
            names.insert(entry.path().filename().string());
        return names;
    }

    /// Hang makes the file and holds the writers' lock of it.
    CFile Hang() {
        Fill(0);
        CFile file(OpenSharing(m_path, kShareAll));
        OVERLAPPED place{};
        place.OffsetHigh = 0x40000000;
        EXPECT_TRUE(LockFileEx(file.Get(), LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &place));
        return file;
    }
    /// Each of ten lines could wait for a second; only the first one is to.
    static void ExpectOneWaitInTenLines(CRollingFile& file) {
        const ULONGLONG start = GetTickCount64();
        for (int i = 0; i < 10; ++i)
            file.Append("x");
        const ULONGLONG took = GetTickCount64() - start;
        EXPECT_TRUE(took >= 900 && took < 5'000) << took;
    }

    test::CTempFolder m_folder;
    std::filesystem::path m_path = m_folder / kName;
};

TEST_F(CRollingFileTest, RollsOverAtTenMegabytesAndKeepsThreeOldFilesEvenIfTheyAreOpen) {
    Fill(10'000'000 - CRollingFile::kLongestLine - 1);
    for (const char* number : {"1", "2", "3"})
        m_folder.Write(std::string(kName) + "." + number, number);
    {
        const CFile sleeper(OpenSharing(m_folder / "trace.log.3", kShareAll));
        CRollingFile file(m_path.wstring());
        file.Append("a");
        EXPECT_EQ(Names().size(), 4U) << "there was room for one more";
        EXPECT_EQ(ReadBytes(m_folder / "trace.log.3"), "3");
        file.Append("b");
        file.Append("c");
        file.Append("d");
    }
    EXPECT_THAT(Names(), ElementsAre(kName, "trace.log.1", "trace.log.2", "trace.log.3"));
    EXPECT_EQ(ReadBytes(m_path), "cd");
    EXPECT_EQ(std::filesystem::file_size(m_folder / "trace.log.1"), 9'995'905U);
    EXPECT_EQ(ReadBytes(m_folder / "trace.log.2"), "1");
    EXPECT_EQ(ReadBytes(m_folder / "trace.log.3"), "2");
}

TEST_F(CRollingFileTest, GrowsOnWhileSomebodyKeepsItFromBeingRenamed) {
    Fill(10'000'000);
    CRollingFile file(m_path.wstring());
    {
        const CFile reader(OpenSharing(m_path, FILE_SHARE_READ | FILE_SHARE_WRITE));
        file.Append("a");
    }
    file.Append("b");  // just tried, and not tried again at every line
    EXPECT_EQ(std::filesystem::file_size(m_path), 10'000'002U);
    Sleep(1'100);
    file.Append("c");
    EXPECT_EQ(ReadBytes(m_path), "c");
}

TEST_F(CRollingFileTest, APipeIsNoFile) {
    constexpr wchar_t kPipe[] = LR"(\\.\pipe\tarnwell-rolling-file)";
    const CFile pipe(CreateNamedPipeW(kPipe, PIPE_ACCESS_DUPLEX, PIPE_WAIT, 1, 1, 1, 0, nullptr));
    ASSERT_TRUE(pipe);
    EXPECT_FALSE(CRollingFile(kPipe).IsOpen());
}

TEST_F(CRollingFileTest, AWriterThatHangsIsWaitedForOnce) {
    const CFile hanging = Hang();
    CRollingFile file(m_path.wstring());
    ExpectOneWaitInTenLines(file);
    EXPECT_EQ(ReadBytes(m_path), "xxxxxxxxxx");
}

TEST_F(CRollingFileTest, AThreadThatWasKilledInItsTurnIsWaitedForOnce) {
    const CFile hanging = Hang();
    CRollingFile file(m_path.wstring());
    static std::atomic<bool> s_runs;
    const auto append = [](void* to) -> DWORD {
        s_runs = true;
        static_cast<CRollingFile*>(to)->Append("never written");
        return 0;
    };
    const CUnique<CPointerTraits<void, CloseHandle>> killed(
        CreateThread(nullptr, 0, append, &file, 0, nullptr));
    while (!s_runs)
        Sleep(1);
    Sleep(200);  // it waits for the lock of the one that hangs
    ASSERT_TRUE(TerminateThread(killed.Get(), 0));
    ExpectOneWaitInTenLines(file);
    EXPECT_EQ(ReadBytes(m_path), "");
}

// Each of them is like another process: the lock between them lies on the file.
TEST_F(CRollingFileTest, SeveralWritersRollOneFileWithoutLosingOrMixingLines) {
    constexpr int kWriters = 4, kLines = 500;
    std::vector<std::thread> writers;
    writers.reserve(kWriters);
    for (int writer = 0; writer < kWriters; ++writer)
        writers.emplace_back([&, writer] {
            // 200,000 bytes in all: three full files of about 54,000 bytes and a last one.
            CRollingFile file(m_path.wstring(), 54'000 + CRollingFile::kLongestLine);
            for (int i = 0; i < kLines; ++i) {
                char line[101];
                (void)std::snprintf(line, sizeof line, "%-20d %-78d\n", writer, i);
                file.Append(line);
            }
        });
    for (std::thread& writer : writers)
        writer.join();
    EXPECT_THAT(Names(), ElementsAre(kName, "trace.log.1", "trace.log.2", "trace.log.3"));
    int next[kWriters] = {};
    for (const char* name : {"trace.log.3", "trace.log.2", "trace.log.1", kName}) {
        std::istringstream lines(ReadBytes(m_folder / name));
        for (std::string line; std::getline(lines, line);) {
            unsigned writer = kWriters;
            int number = -1;
            std::istringstream(line) >> writer >> number;
            ASSERT_TRUE(line.size() == 99 && writer < kWriters) << line;
            ASSERT_EQ(number, next[writer]++) << writer << " in " << name;
        }
    }
    EXPECT_THAT(next, testing::Each(kLines));
}

}  // namespace
}  // namespace tarnwell::zellog
