#include "common/system/os/thread_win32.h"

#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>

#include "common/system/os/process_counts.h"
#include "support/heap_checks.h"
#include "support/trace_listener.h"

namespace tarnwell {
namespace {

const std::function<void()> kNoDuties = [] {};

class CTestThread final : public CThread {
public:
    explicit CTestThread(std::function<std::uint32_t()> body, const ThreadSystem& system = {})
        : CThread(system), m_body(std::move(body)) {}
    ~CTestThread() override { Finish(); }

private:
    std::uint32_t Run() override { return m_body(); }
    std::function<std::uint32_t()> m_body;
};

TEST(Thread, JoinKeepsTheOwnersDutiesGoingAndGivesTheExitCode) {
    CTestThread thread([] {
        Sleep(250);
        return 4711U;
    });
    EXPECT_EQ(thread.join(nullptr), CThread::kNoExitCode) << "it was not started";
    thread.start();
    EXPECT_THROW(thread.start(), std::logic_error);
    EXPECT_THROW(thread.join(nullptr), std::bad_function_call);
    int calls = 0;
    EXPECT_EQ(thread.join([&] { ++calls; }), 4711U);
    EXPECT_TRUE(calls >= 2 && calls <= 4) << calls;
    while (thread.join(nullptr) == STILL_ACTIVE)  // finished: nothing is called any more
        Sleep(1);
    EXPECT_EQ(thread.join(nullptr), 4711U);
}

TEST(Thread, ABodyThatThrowsIsTracedAndEndsWithMinusOne) {
    const test::CTraceListener trace;
    CTestThread thread([]() -> std::uint32_t { throw 5; });
    thread.start();
    while (thread.join(kNoDuties) == STILL_ACTIVE)
        Sleep(1);
    EXPECT_EQ(thread.join(kNoDuties), 0xFFFFFFFF);
    EXPECT_EQ(trace.Count("An exception occured in a thread!"), 1U);
}

// --- The system's answers, one by one ---------------------------------------------------------

std::vector<DWORD> s_waits;  // what the waits for a slice answer, the last one first
LPTHREAD_START_ROUTINE s_entry;
void* s_thread;

/// A thread that runs, within the wait, when the last of `waits` is given.
ThreadSystem Scripted(std::vector<DWORD> waits) {
    s_waits.assign(waits.rbegin(), waits.rend());
    ThreadSystem system;
    system.create = [](SECURITY_ATTRIBUTES* security, SIZE_T stack, LPTHREAD_START_ROUTINE entry,
                       void* parameter, DWORD flags, DWORD*) -> HANDLE {
        EXPECT_TRUE(!security && stack == 0 && flags == 0);
        s_entry = entry;
        s_thread = parameter;
        return CreateEventW(nullptr, TRUE, FALSE, nullptr);
    };
    system.wait = [](HANDLE, DWORD milliseconds) -> DWORD {
        if (milliseconds == INFINITE)
            return WAIT_OBJECT_0;
        EXPECT_EQ(milliseconds, 100U);
        const DWORD answer = s_waits.back();
        s_waits.pop_back();
        if (s_waits.empty())
            s_entry(s_thread);
        SetLastError(6);
        return answer;
    };
    system.exitCode = [](HANDLE, DWORD* code) -> BOOL {
        *code = 7;
        return TRUE;
    };
    return system;
}

/// Outcome is "code N after C calls" or what the error and its event say.
std::string Outcome(const ThreadSystem& system, bool* hasRun = nullptr) try {
    int calls = 0;
    CTestThread thread(
        [&] {
            if (hasRun)
                *hasRun = true;
            return 7U;
        },
        system);
    thread.start();
    const std::uint32_t code = thread.join([&] { ++calls; });
    return "code " + std::to_string(code) + " after " + std::to_string(calls) + " calls";
} catch (const EThreadError& error) {
    char text[200];
    (void)std::snprintf(text, sizeof text, "%X/%zu: %s", error.Event().identifier,
                        error.Event().arguments.Count(), error.what());
    return text;
}

TEST(Thread, EveryWaitResultHasItsOutcome) {
    const struct {
        std::vector<DWORD> waits;
        const char* outcome;
    } kCases[] = {
        {{WAIT_OBJECT_0}, "code 7 after 1 calls"},
        {{WAIT_TIMEOUT, WAIT_TIMEOUT, WAIT_OBJECT_0}, "code 7 after 3 calls"},
        {{WAIT_TIMEOUT, WAIT_TIMEOUT}, "code 7 after 2 calls"},
        {{WAIT_TIMEOUT, WAIT_FAILED}, "C1010002/2: WaitForSingleObject failed with error 6."},
        {{WAIT_ABANDONED}, "C1010003/2: WaitForSingleObject returned 128."},
        {{WAIT_IO_COMPLETION}, "C1010003/2: WaitForSingleObject returned 192."},
        {{WAIT_TIMEOUT, 1}, "C1010003/2: WaitForSingleObject returned 1."},
    };
    for (const auto& [waits, outcome] : kCases)
        EXPECT_EQ(Outcome(Scripted(waits)), outcome);
}

TEST(Thread, AFinishedBodyEndsTheWaitBeforeTheSystemKnowsTheExitCode) {
    ThreadSystem system = Scripted({WAIT_TIMEOUT});
    system.exitCode = [](HANDLE, DWORD* code) -> BOOL {
        *code = STILL_ACTIVE;
        return TRUE;
    };
    EXPECT_EQ(Outcome(system), "code 259 after 1 calls");
}

TEST(Thread, CallsThatFailAreNamedWithTheirError) {
    ThreadSystem system = Scripted({WAIT_OBJECT_0});
    system.exitCode = [](HANDLE, DWORD*) -> BOOL {
        SetLastError(5);
        return FALSE;
    };
    EXPECT_EQ(Outcome(system), "C1010002/2: GetExitCodeThread failed with error 5.");
    system.create = [](SECURITY_ATTRIBUTES*, SIZE_T, LPTHREAD_START_ROUTINE, void*, DWORD,
                       DWORD*) -> HANDLE {
        SetLastError(8);
        return nullptr;
    };
    EXPECT_EQ(Outcome(system), "C1010002/2: CreateThread failed with error 8.");
}

// --- Its end ----------------------------------------------------------------------------------

TEST(Thread, DestroyingARunningOneWaitsForItsBody) {
    bool hasEnded = false;
    {
        CTestThread thread([&] {
            Sleep(100);
            hasEnded = true;
            return 0U;
        });
        thread.start();
        Sleep(20);
    }
    EXPECT_TRUE(hasEnded);
}

TEST(Thread, OneThatIsDestroyedFirstNeverBeginsItsBody) {
    ThreadSystem system = Scripted({WAIT_FAILED, WAIT_OBJECT_0});  // join gives up, nothing has run
    system.wait = [](HANDLE, DWORD milliseconds) -> DWORD {
        if (milliseconds == INFINITE)
            s_entry(s_thread);  // the system gets to it only now
        return WAIT_FAILED;
    };
    bool hasRun = false;
    EXPECT_THAT(Outcome(system, &hasRun), testing::StartsWith("C1010002/2"));
    EXPECT_FALSE(hasRun);
}

TEST(Thread, AThousandLeaveNoHandle) {
    const auto run = [](int count) {
        std::vector<std::unique_ptr<CTestThread>> threads;
        for (int i = 0; i < count; ++i) {
            threads.push_back(std::make_unique<CTestThread>([] { return 1U; }));
            threads.back()->start();
        }
        for (const auto& thread : threads)
            thread->join(kNoDuties);
    };
    run(50);
    const std::uint64_t before = CountProcess().handles;
    for (int i = 0; i < test::Size(10, 1); ++i)
        run(100);
    EXPECT_EQ(CountProcess().handles, before);
    EXPECT_GT(before, 0U);
}

}  // namespace
}  // namespace tarnwell
