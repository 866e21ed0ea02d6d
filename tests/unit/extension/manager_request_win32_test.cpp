#include "tarnwell/win32/manager_request.h"

#include "common/system/text/convert.h"
#include "common/system/text/exception.h"
#include "support/heap_checks.h"
#include "support/process_counts_win32.h"
#include "support/temp_folder.h"
#include "support/trace_listener.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarnwell {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Files = std::vector<CUTF16String>;

const Files kFiles{u"C:\\a b.txt", u"D:\\\u00e9,\u20ac.txt"};
constexpr const char* kSent =
    "/dyn/tarnwell_init?action=ENCRYPT&files=C%3A%5Ca%20b.txt%2CD%3A%5C%C3%A9%2C%E2%82%AC.txt";

CUTF16String s_moduleDirectory;  // where the code under test believes to be installed

ManagerSurroundings Surroundings() {
    ManagerSurroundings surroundings;
    surroundings.moduleDirectory = [] { return s_moduleDirectory; };
    return surroundings;
}

/// An installation below a folder of the test's own: the module in "x64", its manager in "win32".
class SendToServerTest : public testing::Test {
protected:
    SendToServerTest() {
        s_moduleDirectory = test::Utf16(m_folder / "x64");
        fs::create_directories(m_folder / "win32");
        fs::copy_file(fs::path(Wide(ModuleDirectory())) / "fake_manager.exe", Manager());
        SetEnvironmentVariableW(L"FAKE_MANAGER_LOG", (m_folder / "request").c_str());
        Behave("okay");
    }

    void Behave(const char* behaviour) { SetEnvironmentVariableA("FAKE_MANAGER", behaviour); }

    fs::path Manager() const { return m_folder.Path() / "win32" / "Corvane.exe"; }

    ResultCode Send() { return SendToServer(kActionEncrypt, kFiles, Surroundings()); }

    std::string OpeningLine() const {
        return std::string("opening manager: ") + Latin1FromUtf16(test::Utf16(Manager())).CStr() +
               " /standalone";
    }

    test::CTempFolder m_folder;
};

/// Without the parts that differ from run to run: the digits of the port.
std::string Masked(std::string line) {
    const std::string host = "http://127.0.0.1:";
    const std::size_t at = line.find(host);
    if (at == std::string::npos)
        return line;
    const std::size_t from = at + host.size();
    return line.replace(from, line.find_first_not_of("0123456789", from) - from, "PORT");
}

TEST_F(SendToServerTest, EveryKindOfManagerEndsAsDescribed) {
    const std::string asked = std::string("Sending url to HTTPserver: http://127.0.0.1:PORT");
    const std::string failed = "Manager service request failed: ";
    const std::string unreadable = failed + "Invalid URL format";
    const std::string refused = failed + "Connection failed: Connection refused";
    const std::string bad = failed + "Bad HTTP response";
    const struct {
        const char* behaviour;
        ResultCode result;
        std::vector<std::string> lines;  // between "opening manager" and the exit
    } cases[] = {
        {"okay", 0, {asked + kSent}},
        {"status 500", 0, {asked + kSent}},
        {"silent", 3, {"Could not read pipe."}},
        {"line end", 3, {asked + "\r\n" + kSent, unreadable}},
        {"twelve digits", 3, {asked + kSent, unreadable}},  // cut to ten: still above 32 bits
        {"not a port", 3, {asked + "port 80" + kSent, unreadable}},
        {"two pieces", 3, {asked + kSent, refused}},  // the first piece alone is another port
        {"gone", 3, {asked + kSent, refused}},
        {"says nothing", 3, {asked + kSent, bad}},
        {"nonsense", 3, {asked + kSent, bad}},
        {"HTTP/2", 3, {asked + kSent, bad}},
        {"resets", 3, {asked + kSent, failed + "Unable to receive data: Connection reset by peer"}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.behaviour);
        Behave(each.behaviour);
        const test::CTraceListener trace;
        EXPECT_EQ(Send(), each.result);
        std::vector<std::string> lines;
        for (const std::string& line : trace.Lines())
            lines.push_back(Masked(line));
        std::vector<std::string> expected{"enter SendToServer", OpeningLine()};
        expected.insert(expected.end(), each.lines.begin(), each.lines.end());
        expected.emplace_back("leave SendToServer");
        EXPECT_EQ(lines, expected);
    }
}

TEST_F(SendToServerTest, TheManagerGetsOneRequestWithTheOrigin) {
    ASSERT_EQ(Send(), kResultDone);
    EXPECT_EQ(test::ReadBytes(m_folder / "request"),
              std::string("GET ") + kSent +
                  " HTTP/1.0\r\nUser-Agent: ZELSS\r\nOrigin: tarnwell.localhost\r\n"
                  "Accept: */*\r\nHost: 127.0.0.1\r\n\r\n");
}

TEST_F(SendToServerTest, AMissingManagerIsToldInTheTrace) {
    fs::remove(Manager());
    const test::CTraceListener trace;
    EXPECT_EQ(Send(), kResultFailed);
    EXPECT_EQ(trace.Messages(),
              (std::vector<std::string>{OpeningLine(), "Could not create a new process."}));
}

TEST_F(SendToServerTest, WithoutAPipeNothingIsStarted) {
    ManagerSurroundings surroundings = Surroundings();
    surroundings.createPipe = [](CUniqueHandle&, CUniqueHandle&) { return false; };
    const test::CTraceListener trace;
    EXPECT_EQ(SendToServer(kActionSign, kFiles, surroundings), kResultFailed);
    EXPECT_EQ(trace.Lines(),
              (std::vector<std::string>{"enter SendToServer", "pipe Creation failed.",
                                        "leave SendToServer"}));
}

TEST_F(SendToServerTest, ExceptionsOfEveryKindBecomeALineAndAResult) {
    const struct {
        CUTF16String (*thrower)();
        const char* line;
    } cases[] = {
        {[]() -> CUTF16String { throw CException("no luck"); }, "no luck"},
        {[]() -> CUTF16String { throw std::runtime_error("100 %s"); }, "100 %s"},
        {[]() -> CUTF16String { throw std::bad_alloc(); }, "std::bad_alloc"},
        {[]() -> CUTF16String { throw 42; }, "unknown exception"},
    };
    for (const auto& each : cases) {
        ManagerSurroundings surroundings = Surroundings();
        surroundings.moduleDirectory = each.thrower;
        const test::CTraceListener trace;
        EXPECT_EQ(SendToServer(kActionSign, kFiles, surroundings), kResultFailed);
        EXPECT_EQ(trace.Lines(), (std::vector<std::string>{
                                     "enter SendToServer",
                                     std::string("Manager service request failed: ") + each.line,
                                     "leave SendToServer"}));
    }
}

// A reader of somebody else's pipe must see its end although a manager is still running.
TEST_F(SendToServerTest, TheManagerInheritsNothingButItsOutput) {
    CUniqueHandle readEnd, writeEnd;
    ASSERT_TRUE(CreateManagerPipe(readEnd, writeEnd));
    Behave("stays");
    ASSERT_EQ(Send(), kResultDone);
    const auto start = Clock::now();
    writeEnd.Reset();
    char byte;
    DWORD count = 0;
    EXPECT_FALSE(ReadFile(readEnd.Get(), &byte, 1, &count, nullptr));
    EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(1500));
}

TEST_F(SendToServerTest, NoHandleIsLeftOpenOnAnyPath) {
    const int some = test::Size(20, 3);
    const struct {
        const char* behaviour;
        int rounds;
    } cases[] = {{"silent", some},   {"line end", some}, {"gone", some},
                 {"nonsense", some}, {"okay", some},     {"missing", test::Size(1000, 50)}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.behaviour);
        Behave(each.behaviour);
        if (each.behaviour == std::string("missing"))
            s_moduleDirectory = test::Utf16(m_folder / "elsewhere");
        Send();  // what the system opens once and keeps
        const std::size_t before = test::OpenHandleCount();
        for (int i = 0; i < each.rounds; ++i)
            Send();
        EXPECT_EQ(test::OpenHandleCount(), before);
    }
}

TEST_F(SendToServerTest, OpeningWithoutAFileToReadFailsQuietly) {
    static std::vector<CUTF16String> s_opened;
    s_opened.clear();
    ManagerSurroundings surroundings = Surroundings();
    surroundings.openFile = [](const CUTF16String& file) -> std::intptr_t {
        s_opened.push_back(file);
        return 33;
    };
    const test::CTraceListener trace;
    const Files none;
    EXPECT_EQ(SendToServer(kActionOpen, none, surroundings), kResultFailed);
    EXPECT_EQ(SendToServer(kActionOpen, Files{test::Utf16(m_folder / "no.p7"), u"C:\\b.p7"},
                           surroundings),
              kResultFailed);
    EXPECT_TRUE(s_opened.empty());
    EXPECT_EQ(trace.Lines(),
              (std::vector<std::string>{"enter SendToServer", "leave SendToServer",
                                        "enter SendToServer", "leave SendToServer"}));
}

TEST_F(SendToServerTest, TakesTimeLinearInTheNumberOfFiles) {
    const auto time = [&](std::size_t count) {
        const Files files(count, CUTF16String(std::u16string(150, u'\u00e9')));
        const auto start = Clock::now();
        EXPECT_EQ(SendToServer(kActionSign, files, Surroundings()), kResultDone);
        return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    };
    time(500);  // warms up
    const double few = time(500);
    const double many = time(5000);
    // Between ten times and a hundred times: the machine is busy with other tests.
    EXPECT_LT(many, few * 30);
    const std::string request = test::ReadBytes(m_folder / "request");
    EXPECT_EQ(request.find(" HTTP/1.0\r\n"),
              std::string("GET /dyn/tarnwell_init?action=SIGN&files=").size() + 5000 * 150 * 6 +
                  4999 * 3);
}

}  // namespace
}  // namespace tarnwell
