#include "tarnwell/win32/manager_request.h"

#include "common/system/os/process_counts.h"
#include "common/system/text/exception.h"
#include "extension_fixture.h"
#include "support/heap_checks.h"

#include <algorithm>
#include <regex>

namespace tarnwell::test {
namespace {

namespace fs = std::filesystem;

const std::vector<CUTF16String> kFiles{u"C:\\a b.txt", u"D:\\\u00e9,\u20ac.txt"};
constexpr const char* kSent =
    "/dyn/tarnwell_init?action=ENCRYPT&files=C%3A%5Ca%20b.txt%2CD%3A%5C%C3%A9%2C%E2%82%AC.txt";

constexpr const char* kMissing = "missing";  // the behaviour of no manager at all
CUTF16String s_moduleDirectory;              // where the code under test believes to be installed

/// An installation below a folder of the test's own: the module in "x64", its manager in "win32".
class SendToServerTest : public testing::Test {
protected:
    SendToServerTest() {
        s_moduleDirectory = Utf16(m_folder / "x64");
        fs::create_directories(m_folder / "win32");
        SetEnvironmentVariableW(L"FAKE_MANAGER_LOG", (m_folder / "request").c_str());
    }

    void Behave(const std::string& behaviour) {
        SetEnvironmentVariableA("FAKE_MANAGER", behaviour.c_str());
        if (behaviour != kMissing)
            fs::copy_file(fs::path(Wide(ModuleDirectory())) / "fake_manager.exe", m_manager,
                          fs::copy_options::skip_existing);
    }

    CTempFolder m_folder;
    const fs::path m_manager = m_folder / "win32" / "Corvane.exe";
    ManagerSurroundings m_surroundings{.moduleDirectory = [] { return s_moduleDirectory; }};
};

/// Without the parts that differ from run to run: the digits of the port.
std::string Masked(const std::string& line) {
    return std::regex_replace(line, std::regex("127\\.0\\.0\\.1:[0-9]+"), "127.0.0.1:PORT");
}

TEST_F(SendToServerTest, EveryKindOfManagerEndsAsDescribedAndLeavesNoHandleOpen) {
    const std::string asked = "Sending url to HTTPserver: http://127.0.0.1:PORT";
    const std::string failed = "Manager service request failed: ";
    const std::string unreadable = failed + "Invalid URL format";
    const std::string refused = failed + "Connection failed: Connection refused";
    const struct {
        std::string behaviour;
        ResultCode result;
        Strings lines;  // between "opening manager" and the exit
    } cases[] = {
        {kMissing, 3, {"Could not create a new process."}},  // before one is put there
        {"okay", 0, {asked + kSent}},
        {"status 500", 0, {asked + kSent}},
        {"silent", 3, {"Could not read pipe."}},
        {"line end", 3, {asked + "\r\n" + kSent, unreadable}},
        {"twelve digits", 3, {asked + kSent, unreadable}},  // cut to ten: still above 32 bits
        {"two pieces", 3, {asked + kSent, refused}},        // the first piece alone is another port
        {"gone", 3, {asked + kSent, refused}},
        {"nonsense", 3, {asked + kSent, failed + "Bad HTTP response"}},
    };
    const std::string opening =
        std::string("opening manager: ") + Latin1FromUtf16(Utf16(m_manager)).CStr();
    for (const auto& each : cases) {
        SCOPED_TRACE(each.behaviour);
        Behave(each.behaviour);
        const CTraceListener trace;
        EXPECT_EQ(SendToServer(kActionEncrypt, kFiles, m_surroundings), each.result);
        Strings expected = each.lines;
        expected.insert(expected.begin(), {"enter SendToServer", opening + " /standalone"});
        expected.emplace_back("leave SendToServer");
        Strings lines = trace.Lines();
        std::ranges::transform(lines, lines.begin(), Masked);
        EXPECT_EQ(lines, expected);

        if (UnderHeapChecks())
            continue;  // counting walks the heap, which takes seconds where each step is checked
        const std::uint64_t handles = CountProcess().handles;
        ASSERT_NE(handles, 0u);
        SendToServer(kActionEncrypt, kFiles, m_surroundings);  // a second one shows every leak
        EXPECT_EQ(CountProcess().handles, handles);
    }
    EXPECT_EQ(ReadBytes(m_folder / "request"),
              std::string("GET ") + kSent +
                  " HTTP/1.0\r\nUser-Agent: ZELSS\r\nOrigin: tarnwell.localhost\r\n"
                  "Accept: */*\r\nHost: 127.0.0.1\r\n\r\n");
}

TEST_F(SendToServerTest, AMissingPipeAndEveryExceptionBecomeALineAndAResult) {
    const std::string failed = "Manager service request failed: ";
    const struct {
        bool (*createPipe)(CUniqueHandle&, CUniqueHandle&);
        std::string line;
    } cases[] = {
        {[](auto&, auto&) { return false; }, "pipe Creation failed."},
        {[](auto&, auto&) -> bool { throw CException("100 %s"); }, failed + "100 %s"},
        {[](auto&, auto&) -> bool { throw 42; }, failed + "unknown exception"},
    };
    for (const auto& each : cases) {
        m_surroundings.createPipe = each.createPipe;
        const CTraceListener trace;
        EXPECT_EQ(SendToServer(kActionSign, kFiles, m_surroundings), kResultFailed);
        EXPECT_EQ(trace.Lines(), (Strings{"enter SendToServer", each.line, "leave SendToServer"}));
    }
}

// A reader of somebody else's pipe must see its end although a manager is still running.
TEST_F(SendToServerTest, TheManagerInheritsNothingButItsOutput) {
    CUniqueHandle readEnd, writeEnd;
    ASSERT_TRUE(CreateManagerPipe(readEnd, writeEnd));
    Behave("stays");
    ASSERT_EQ(SendToServer(kActionEncrypt, kFiles, m_surroundings), kResultDone);
    writeEnd.Reset();
    EXPECT_FALSE(PeekNamedPipe(readEnd.Get(), nullptr, 0, nullptr, nullptr, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_BROKEN_PIPE});
}

}  // namespace
}  // namespace tarnwell::test
