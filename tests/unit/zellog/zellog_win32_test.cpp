// The trace library as programs meet it: loaded from its file, bound by name, writing where
// TARNWELL_TRACE says; and the client, which finds it beside its own program and nowhere else.

#include <gmock/gmock.h>
#include <process.h>
#include <windows.h>

#include <chrono>
#include <regex>
#include <sstream>
#include <thread>

#include "common/system/os/install_paths.h"
#include "common/system/trace/trace.h"
#include "support/temp_folder.h"

namespace tarnwell::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

const fs::path kOwnProgram = ModulePath().AsView();

/// Runs a test of this program that is disabled otherwise and gives its exit code.
std::intptr_t RunChild(const fs::path& program, const char* test) {
    return _spawnl(_P_WAIT, program.string().c_str(), "child", "--gtest_also_run_disabled_tests",
                   (std::string("--gtest_filter=") + test).c_str(), nullptr);
}

/// A trace file that the environment names, and a copy of the library that reads it afresh.
class CZelLogTest : public testing::Test {
protected:
    CZelLogTest() { SetEnvironmentVariableW(L"TARNWELL_TRACE", m_file.c_str()); }
    ~CZelLogTest() override {
        SetEnvironmentVariableW(L"TARNWELL_TRACE", nullptr);
        Unload();
    }
    void Unload() { FreeLibrary(std::exchange(m_module, nullptr)); }

    TraceLibrary Load() {
        fs::copy_file(kOwnProgram.parent_path() / "zelLog.dll", m_folder / "copy.dll",
                      fs::copy_options::overwrite_existing);
        m_module = LoadLibraryW((m_folder / "copy.dll").c_str());
        return {Entry<decltype(TraceLibrary::traceEnter)>("TraceEnter"),
                Entry<decltype(TraceLibrary::traceLeave)>("TraceLeave"),
                Entry<decltype(TraceLibrary::traceString)>("TraceString"),
                Entry<decltype(TraceLibrary::getWin32ErrorString)>("GetWin32ErrorString"),
                Entry<decltype(TraceLibrary::getCkErrorString)>("GetCkErrorString")};
    }
    /// What stands behind the time and the numbers of process and thread.
    std::vector<std::string> Texts() const {
        static const std::regex kLine(
            R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z +\d+ +\d+ ([^\r]*)\r)");
        std::istringstream lines(ReadBytes(m_file));
        std::vector<std::string> texts;
        for (std::string line; std::getline(lines, line);) {
            std::smatch parts;
            EXPECT_TRUE(std::regex_match(line, parts, kLine)) << line;
            texts.push_back(parts.str(1));
        }
        return texts;
    }

    CTempFolder m_folder;
    fs::path m_file = m_folder / "trace.log";

private:
    template <class Function>
    Function Entry(const char* name) {
        return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(m_module, name)));
    }
    HMODULE m_module = nullptr;
};

TEST_F(CZelLogTest, LinesTellProcessThreadDepthAndText) {
    const TraceLibrary library = Load();
    library.traceEnter("CContextMenu::InvokeCommand");
    library.traceEnter("Lang::operator[]");
    library.traceString("%s: %d", "filled", 5);
    std::thread([&] { library.traceEnter("other thread"); }).join();
    library.traceLeave("Lang::operator[]");
    library.traceLeave("CContextMenu::InvokeCommand");
    library.traceLeave(nullptr);
    EXPECT_THAT(Texts(), ElementsAre("> CContextMenu::InvokeCommand", "  > Lang::operator[]",
                                     "    . filled: 5", "> other thread", "  < Lang::operator[]",
                                     "< CContextMenu::InvokeCommand", "< (null)"));
    std::string time;
    unsigned process = 0, thread = 0;
    EXPECT_TRUE(std::istringstream(ReadBytes(m_file)) >> time >> process >> thread);
    EXPECT_EQ(process, GetCurrentProcessId());
    EXPECT_EQ(thread, GetCurrentThreadId());
}

TEST_F(CZelLogTest, ATextCannotPretendToBeALineAndIsCutBetweenCharacters) {
    const TraceLibrary library = Load();
    std::string euros;
    for (int i = 0; i < 5'000; ++i)
        euros += "\xE2\x82\xAC";
    library.traceString("%s", "one\r\ntwo\tthree\x01\x7F");
    library.traceString("%s", euros.c_str());
    library.traceString("%s", ("xy" + euros).c_str());
    library.traceString("%s", std::string(3'000, 'z').c_str());
    for (int i = 0; i < 100; ++i)
        library.traceEnter("deep");
    auto texts = Texts();
    EXPECT_EQ(texts.back(), std::string(64, ' ') + "> deep") << "32 levels are shown";
    texts.resize(4);
    EXPECT_THAT(
        texts,
        ElementsAre(". one\\r\\ntwo\\tthree\\x01\\x7F", ". " + euros.substr(0, 3'000) + "...",
                    ". xy" + euros.substr(0, 2'997) + "...", ". " + std::string(3'000, 'z')));
}

TEST_F(CZelLogTest, ErrorTextsAreTheSystemsAndTheStandards) {
    const TraceLibrary library = Load();
    const std::string denied = library.getWin32ErrorString(ERROR_ACCESS_DENIED);
    EXPECT_TRUE(!denied.empty() && !std::isspace(denied.back())) << denied;
    EXPECT_STREQ(library.getWin32ErrorString(0x2FFF1234), "Win32 error 805245492 (0x2FFF1234)");
    EXPECT_STREQ(library.getCkErrorString(0xA0), "CKR_PIN_INCORRECT");
    EXPECT_STREQ(library.getCkErrorString(0x20A), "CKR 0x0000020A");
    EXPECT_STREQ(library.getCkErrorString(0x80000001), "CKR_VENDOR_DEFINED 0x80000001");
}

TEST_F(CZelLogTest, WhereNothingCanBeWrittenTheLinesAreLostAndNothingElse) {
    // The second is an empty file that refuses every line, as a full disk does.
    for (const auto& path :
         {m_folder / "missing" / "trace.log", fs::path("Z:\\proc\\self\\oom_score_adj")}) {
        SetEnvironmentVariableW(L"TARNWELL_TRACE", path.c_str());
        const TraceLibrary library = Load();
        const ULONGLONG start = GetTickCount64();
        SetLastError(1234);
        for (int i = 0; i < 100; ++i) {
            library.traceEnter("Class::Method");
            library.traceString("%d", i);
            library.traceLeave("Class::Method");
        }
        library.getWin32ErrorString(0x2FFF1234);
        library.getCkErrorString(0x20A);
        EXPECT_EQ(GetLastError(), 1234u) << path;
        EXPECT_LT(GetTickCount64() - start, 5'000u) << path;
        Unload();
    }
    EXPECT_FALSE(fs::exists(m_folder / "missing"));
}

TEST_F(CZelLogTest, TheSettingsTurnItOnWhereTheEnvironmentDoesNot) {
    const auto set = [](const wchar_t* path) {
        RegSetKeyValueW(HKEY_LOCAL_MACHINE, L"Software\\Quorva", L"TraceFile", REG_EXPAND_SZ, path,
                        static_cast<DWORD>((wcslen(path) + 1) * sizeof *path));
    };
    set((m_folder / "settings.log").c_str());
    Load().traceString("to the environment's file");
    EXPECT_FALSE(fs::exists(m_folder / "settings.log"));
    EXPECT_THAT(Texts(), ElementsAre(". to the environment's file"));
    SetEnvironmentVariableW(L"ZELLOG_TEST", m_folder.Path().c_str());
    set(L"%ZELLOG_TEST%\\settings.log");
    SetEnvironmentVariableW(L"TARNWELL_TRACE", nullptr);
    Unload();
    Load().traceString("to the settings' file");
    RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, L"Software\\Quorva", L"TraceFile");
    m_file = m_folder / "settings.log";
    EXPECT_THAT(Texts(), ElementsAre(". to the settings' file"));
}

TEST_F(CZelLogTest, AFileThatIsNoTraceIsLeftAlone) {
    const std::string line = "2026-01-02T03:04:05.678Z  1234  5678 . text\r\n";
    const struct {
        std::string before;
        bool isWritten;
    } files[] = {{"", true},
                 {line, true},
                 {line.substr(0, 11), true},  // all that a full disk had room for
                 {"[fonts]\r\n", false},
                 {"2026-01-02 03:04:05.678  somebody else's log\r\n", false},
                 {std::string(30, '\0'), false}};
    for (const auto& [before, isWritten] : files) {
        m_folder.Write("trace.log", before);
        Load().traceString("text");
        Unload();
        EXPECT_EQ(ReadBytes(m_file).size() > before.size(), isWritten) << before;
        EXPECT_TRUE(ReadBytes(m_file).starts_with(before)) << before;
    }
}

TEST_F(CZelLogTest, ACallCostsTwentyNanosecondsAtMostWhileItIsOff) {
    SetEnvironmentVariableW(L"TARNWELL_TRACE", nullptr);
    const TraceLibrary library = Load();
    const TraceLibrary* const before = ReplaceTraceLibrary(&library);
    using Clock = std::chrono::steady_clock;
    const auto giveUp = Clock::now() + std::chrono::seconds(20);
    double best = 1e9;  // of as many as it takes, since others use the machine too
    while (best > 20.0 && Clock::now() < giveUp) {
        constexpr int kCalls = 150'000;
        const auto start = Clock::now();
        for (int i = 0; i < kCalls; i += 3) {
            const CTraceScope scope("Class::Method");
            TraceString("message");
        }
        const auto took = Clock::now() - start;
        best = std::min(best, std::chrono::duration<double, std::nano>(took).count() / kCalls);
    }
    ReplaceTraceLibrary(before);
    EXPECT_LE(best, 20.0) << "nanoseconds";
}

// --- The client ------------------------------------------------------------------------------

TEST_F(CZelLogTest, MessagesOfAModuleThatIsStillAttachedLaterAreHandedOver) {
    EXPECT_EQ(RunChild(kOwnProgram, "*TracesBeforeAndAfter"), 0);
    EXPECT_THAT(Texts(), ElementsAre(". early 0 " + std::string(247, 'x'), ". early %d",
                                     ". early %d", ". early %d", ". early %d", ". early %d",
                                     ". early %d", ". early %d", "> Class::Late"));
}

TEST(TraceClientChild, DISABLED_TracesBeforeAndAfter) {
    CloseTrace();
    TraceString(("early 0 " + std::string(300, 'x')).c_str());
    for (int i = 1; i < 12; ++i)
        TraceString("early %d");
    OpenTrace();
    const CTraceScope late("Class::Late");
    CloseTrace();  // what comes now comes after the module's end
}

TEST_F(CZelLogTest, ALibraryInTheCurrentFolderIsNotLoadedByTheClient) {
    fs::copy_file(kOwnProgram, m_folder / "alone.exe");
    const auto before = fs::current_path();
    fs::current_path(kOwnProgram.parent_path());
    EXPECT_EQ(RunChild(m_folder / "alone.exe", "*HasNoLibrary"), 0);
    fs::current_path(before);
}

TEST(TraceClientChild, DISABLED_HasNoLibrary) {
    SetLastError(1234);
    TraceString("text");
    EXPECT_EQ(GetLastError(), 1234u);
    EXPECT_STREQ(GetWin32ErrorString(5), "");
    EXPECT_EQ(GetModuleHandleW(L"zelLog.dll"), nullptr);
}

}  // namespace
}  // namespace tarnwell::test
