// The trace library as programs meet it: loaded from its file, bound by name, writing where
// TARNWELL_TRACE says; and the client, which finds it beside its own program and nowhere else.

#include <gmock/gmock.h>
#include <windows.h>

#include <filesystem>
#include <map>
#include <optional>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "common/system/trace/trace.h"
#include "support/temp_folder.h"

namespace tarnwell::test {
namespace {

using testing::ElementsAre;

constexpr int kChildLines = 1500;

std::filesystem::path OwnProgram() {
    wchar_t path[1024];
    GetModuleFileNameW(nullptr, path, 1024);
    return path;
}
std::filesystem::path LibraryFile() {
    return OwnProgram().parent_path() / "zelLog.dll";
}

/// Sets TARNWELL_TRACE as long as it lives.
class CTraceVariable {
public:
    explicit CTraceVariable(const std::filesystem::path& file) {
        SetEnvironmentVariableW(L"TARNWELL_TRACE", file.c_str());
    }
    ~CTraceVariable() { SetEnvironmentVariableW(L"TARNWELL_TRACE", nullptr); }
};

/// A private copy of the library, so that each test's copy reads the environment afresh.
class CLoadedLibrary {
public:
    explicit CLoadedLibrary(const CTempFolder& folder) {
        static int number = 0;
        const auto copy = folder / ("copy" + std::to_string(++number) + ".dll");
        std::filesystem::copy_file(LibraryFile(), copy);
        m_module = LoadLibraryW(copy.c_str());
        Bind("TraceEnter", calls.traceEnter);
        Bind("TraceLeave", calls.traceLeave);
        Bind("TraceString", calls.traceString);
        Bind("GetWin32ErrorString", calls.getWin32ErrorString);
        Bind("GetCkErrorString", calls.getCkErrorString);
    }
    ~CLoadedLibrary() { FreeLibrary(m_module); }

    TraceLibrary calls;

private:
    template <class Entry>
    void Bind(const char* name, Entry& entry) {
        entry = reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(m_module, name)));
        EXPECT_NE(entry, nullptr) << name;
    }
    HMODULE m_module;
};

std::vector<std::string> LinesOf(const std::filesystem::path& file) {
    const std::string bytes = ReadBytes(file);
    std::vector<std::string> lines;
    for (std::size_t start = 0; start < bytes.size();) {
        const std::size_t end = bytes.find("\r\n", start);
        if (end == std::string::npos) {
            ADD_FAILURE() << "the last line is not ended";
            break;
        }
        lines.push_back(bytes.substr(start, end - start));
        start = end + 2;
    }
    return lines;
}

/// What stands behind the time and the numbers of process and thread.
std::vector<std::string> TextsOf(const std::filesystem::path& file) {
    static const std::regex kHead(
        R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z +\d+ +\d+ ([\s\S]*)$)");
    std::vector<std::string> texts;
    for (const std::string& line : LinesOf(file)) {
        std::smatch match;
        if (std::regex_match(line, match, kHead))
            texts.push_back(match[1]);
        else
            ADD_FAILURE() << "no such line: " << line;
    }
    return texts;
}

/// Runs a test of this program's that is disabled otherwise, and gives the exit code.
DWORD RunChild(const std::filesystem::path& program, const std::string& test,
               const std::filesystem::path& folder,
               std::vector<PROCESS_INFORMATION>* left = nullptr) {
    std::wstring command = L"\"" + program.wstring() + L"\" --gtest_also_run_disabled_tests " +
                           L"--gtest_brief=1 --gtest_filter=" +
                           std::wstring(test.begin(), test.end());
    STARTUPINFOW start{};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(program.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                        folder.c_str(), &start, &process)) {
        ADD_FAILURE() << "cannot start " << program << ": " << GetLastError();
        return 0xFFFF;
    }
    CloseHandle(process.hThread);
    if (left) {
        left->push_back(process);
        return 0;
    }
    DWORD code = 0xFFFF;
    EXPECT_EQ(WaitForSingleObject(process.hProcess, 60'000), WAIT_OBJECT_0);
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hProcess);
    return code;
}

TEST(ZelLogTest, LinesTellTimeProcessThreadDepthAndText) {
    const CTempFolder folder;
    const auto file = folder / "trace.log";
    const CTraceVariable variable(file);
    SYSTEMTIME before;
    GetSystemTime(&before);
    {
        const CLoadedLibrary library(folder);
        library.calls.traceEnter("CContextMenu::InvokeCommand");
        library.calls.traceString("plain");
        library.calls.traceEnter("Lang::operator[]");
        library.calls.traceString("%s: %d", "filled", 5);
        library.calls.traceLeave("Lang::operator[]");
        library.calls.traceLeave("CContextMenu::InvokeCommand");
        library.calls.traceLeave("never entered");
        library.calls.traceString("last");
    }
    EXPECT_THAT(TextsOf(file),
                ElementsAre("> CContextMenu::InvokeCommand", "  . plain", "  > Lang::operator[]",
                            "    . filled: 5", "  < Lang::operator[]",
                            "< CContextMenu::InvokeCommand", "< never entered", ". last"));
    unsigned year = 0, month = 0, process = 0, thread = 0;
    const std::string line = LinesOf(file)[0];
    ASSERT_EQ(std::sscanf(line.c_str(), "%u-%u-%*uT%*u:%*u:%*u.%*uZ %u %u", &year, &month, &process,
                          &thread),
              4);
    EXPECT_EQ(year, before.wYear);
    EXPECT_EQ(month, before.wMonth);
    EXPECT_EQ(process, GetCurrentProcessId());
    EXPECT_EQ(thread, GetCurrentThreadId());
}

TEST(ZelLogTest, ATextCannotPretendToBeALineAndIsCutBetweenCharacters) {
    const CTempFolder folder;
    const auto file = folder / "trace.log";
    const CTraceVariable variable(file);
    std::string euros;
    for (int i = 0; i < 5'000; ++i)
        euros += "\xE2\x82\xAC";
    {
        const CLoadedLibrary library(folder);
        library.calls.traceString("%s", "one\r\ntwo\tthree\x01\x7F");
        library.calls.traceString("%s", euros.c_str());
        library.calls.traceString("%s", ("xy" + euros).c_str());
        library.calls.traceString("%s", std::string(3'000, 'z').c_str());
        library.calls.traceString("%s", std::string(3'001, 'z').c_str());
        library.calls.traceEnter(euros.c_str());
        library.calls.traceEnter(nullptr);
        for (int i = 0; i < 100; ++i)
            library.calls.traceEnter("deep");
    }
    const auto texts = TextsOf(file);
    ASSERT_EQ(texts.size(), 107u);
    EXPECT_EQ(texts[0], ". one\\r\\ntwo\\tthree\\x01\\x7F");
    EXPECT_EQ(texts[1], ". " + euros.substr(0, 3'000) + "...");
    EXPECT_EQ(texts[2], ". xy" + euros.substr(0, 2'997) + "...");
    EXPECT_EQ(texts[3], ". " + std::string(3'000, 'z'));
    EXPECT_EQ(texts[4], ". " + std::string(3'000, 'z') + "...");
    EXPECT_EQ(texts[5], "> " + euros.substr(0, 3'000) + "...");
    EXPECT_EQ(texts[6], "  > (null)");
    EXPECT_EQ(texts[106], std::string(64, ' ') + "> deep") << "32 levels are shown";
}

TEST(ZelLogTest, WithoutTheVariableOrTheFolderNothingHappens) {
    const CTempFolder folder;
    for (const bool named : {false, true}) {
        std::optional<CTraceVariable> variable;
        if (named)
            variable.emplace(folder / "missing" / "trace.log");
        const CLoadedLibrary library(folder);
        SetLastError(1234);
        library.calls.traceEnter("Class::Method");
        library.calls.traceString("%s", "text");
        library.calls.traceLeave("Class::Method");
        EXPECT_EQ(GetLastError(), 1234u);
        EXPECT_FALSE(std::filesystem::exists(folder / "missing"));
    }
}

TEST(ZelLogTest, TheLastErrorSurvivesEveryCall) {
    const CTempFolder folder;
    const CTraceVariable variable(folder / "trace.log");
    const CLoadedLibrary library(folder);
    SetLastError(1234);
    library.calls.traceString("%s", "text");
    library.calls.getWin32ErrorString(2);
    library.calls.getWin32ErrorString(0xDEADBEEF);
    library.calls.getCkErrorString(0xDEAD);
    EXPECT_EQ(GetLastError(), 1234u);
}

TEST(ZelLogTest, ErrorTextsAreTheSystemsAndTheStandards) {
    const CTempFolder folder;
    const CLoadedLibrary library(folder);
    const std::string denied = library.calls.getWin32ErrorString(ERROR_ACCESS_DENIED);
    ASSERT_FALSE(denied.empty());
    EXPECT_EQ(std::string(" \r\n").find(denied.back()), std::string::npos) << denied;
    EXPECT_NE(denied, library.calls.getWin32ErrorString(ERROR_FILE_NOT_FOUND));
    EXPECT_STREQ(library.calls.getWin32ErrorString(0x2FFF1234),
                 "Win32 error 805245492 (0x2FFF1234)");
    const std::map<unsigned long, const char*> kNames = {
        {0, "CKR_OK"},
        {0xA0, "CKR_PIN_INCORRECT"},
        {0x1B1, "CKR_NEXT_OTP"},
        {0x200, "CKR_FUNCTION_REJECTED"},
        {4, "CKR 0x00000004"},
        {0x201, "CKR 0x00000201"},
        {0x80000001, "CKR_VENDOR_DEFINED 0x80000001"}};
    for (const auto& [code, name] : kNames)
        EXPECT_STREQ(library.calls.getCkErrorString(code), name);
    const char* const own = library.calls.getCkErrorString(0x300);
    std::thread([&] { library.calls.getCkErrorString(0x301); }).join();
    EXPECT_STREQ(own, "CKR 0x00000300") << "each thread has its own";
}

TEST(ZelLogTest, ThreadsHaveDepthsOfTheirOwn) {
    const CTempFolder folder;
    const auto file = folder / "trace.log";
    const CTraceVariable variable(file);
    {
        const CLoadedLibrary library(folder);
        library.calls.traceEnter("outer");
        std::thread([&] { library.calls.traceEnter("other thread"); }).join();
        library.calls.traceString("inner");
    }
    EXPECT_THAT(TextsOf(file), ElementsAre("> outer", "> other thread", "  . inner"));
}

TEST(ZelLogTest, SeveralProcessesShareOneFileWithoutMixingLines) {
    const CTempFolder folder;
    const auto file = folder / "trace.log";
    const CTraceVariable variable(file);
    std::vector<PROCESS_INFORMATION> children;
    for (int i = 0; i < 4; ++i)
        RunChild(OwnProgram(), "ZelLogChild.DISABLED_WritesManyLines", folder.Path(), &children);
    std::map<unsigned, int> next;
    for (const PROCESS_INFORMATION& child : children) {
        EXPECT_EQ(WaitForSingleObject(child.hProcess, 60'000), WAIT_OBJECT_0);
        next[child.dwProcessId] = 0;
        CloseHandle(child.hProcess);
    }
    for (const std::string& text : TextsOf(file)) {
        unsigned process = 0;
        int number = 0;
        ASSERT_EQ(std::sscanf(text.c_str(), ". line %u %d ", &process, &number), 2) << text;
        ASSERT_EQ(text.substr(text.size() - 104), std::string(100, 'x') + " end") << text;
        ASSERT_EQ(next.count(process), 1u);
        ASSERT_EQ(number, next[process]++);
    }
    for (const auto& [process, count] : next)
        EXPECT_EQ(count, kChildLines);
}

TEST(ZelLogChild, DISABLED_WritesManyLines) {
    for (int i = 0; i < kChildLines; ++i) {
        const std::string line = std::to_string(GetCurrentProcessId()) + " " + std::to_string(i) +
                                 " " + std::string(100, 'x') + " end";
        TraceString("line %s", line.c_str());
    }
}

// --- The client ------------------------------------------------------------------------------

TEST(TraceClientTest, MessagesOfAModuleThatIsStillAttachedLaterAreHandedOver) {
    const CTempFolder folder;
    const auto file = folder / "trace.log";
    const CTraceVariable variable(file);
    EXPECT_EQ(
        RunChild(OwnProgram(), "TraceClientChild.DISABLED_TracesBeforeAndAfter", folder.Path()),
        0u);
    const auto texts = TextsOf(file);
    ASSERT_EQ(texts.size(), 10u);
    EXPECT_EQ(texts[0], ". early 0 " + std::string(247, 'x'));
    EXPECT_EQ(texts[1], ". early 1 %d");
    EXPECT_EQ(texts[7], ". early 7 %d");
    EXPECT_EQ(texts[8], "> Class::Late");
    EXPECT_EQ(texts[9], "< Class::Late");
}

TEST(TraceClientChild, DISABLED_TracesBeforeAndAfter) {
    CloseTrace();
    {
        const CTraceScope early("Class::Early");
        TraceString(("early 0 " + std::string(300, 'x')).c_str());
        for (int i = 1; i < 12; ++i)
            TraceString(("early " + std::to_string(i) + " %d").c_str());
    }
    OpenTrace();
    {
        const CTraceScope late("Class::Late");
        CloseTrace();  // what comes now comes after the module's end
        OpenTrace();
    }
}

TEST(TraceClientTest, ALibraryInTheCurrentFolderIsNotLoaded) {
    const CTempFolder folder;
    const auto program = folder / "alone.exe";
    std::filesystem::copy_file(OwnProgram(), program);
    const auto file = folder / "trace.log";
    const CTraceVariable variable(file);
    EXPECT_EQ(
        RunChild(program, "TraceClientChild.DISABLED_HasNoLibrary", LibraryFile().parent_path()),
        0u);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(TraceClientChild, DISABLED_HasNoLibrary) {
    const CTraceScope scope("Class::Method");
    SetLastError(1234);
    TraceString("text");
    EXPECT_EQ(GetLastError(), 1234u);
    EXPECT_STREQ(GetWin32ErrorString(5), "");
    EXPECT_EQ(GetModuleHandleW(L"zelLog.dll"), nullptr);
}

}  // namespace
}  // namespace tarnwell::test
