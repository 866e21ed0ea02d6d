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

/// What the system answers: the waits for a slice in turn, the exit code, and what fails. The body
/// runs within the last wait.
struct Script {
    std::vector<DWORD> waits;
    DWORD exitCode = 7;
    bool createFails = false, exitCodeFails = false;
    LPTHREAD_START_ROUTINE entry = nullptr;
    void* thread = nullptr;
};
Script* s_script;

const ThreadSystem kScripted = {
    [](SECURITY_ATTRIBUTES* security, SIZE_T stack, LPTHREAD_START_ROUTINE entry, void* thread,
       DWORD flags, DWORD*) -> HANDLE {
        EXPECT_TRUE(!security && stack == 0 && flags == 0);
        s_script->entry = entry;
        s_script->thread = thread;
        if (!s_script->createFails)
            return CreateEventW(nullptr, TRUE, FALSE, nullptr);
        SetLastError(8);
        return nullptr;
    },
    [](HANDLE, DWORD milliseconds) -> DWORD {
        auto& waits = s_script->waits;
        if (milliseconds == INFINITE || waits.size() == 1)
            s_script->entry(s_script->thread);
        if (milliseconds == INFINITE)
            return WAIT_OBJECT_0;
        EXPECT_EQ(milliseconds, 100U);
        const DWORD answer = waits.front();
        waits.erase(waits.begin());
        SetLastError(6);
        return answer;
    },
    [](HANDLE, DWORD* code) -> BOOL {
        *code = s_script->exitCode;
        SetLastError(5);
        return !s_script->exitCodeFails;
    }};

/// Outcome is "code N after C calls" or what the error and its event say.
std::string Outcome(Script script) try {
    s_script = &script;
    int calls = 0;
    CTestThread thread([] { return 7U; }, kScripted);
    thread.start();
    const std::uint32_t code = thread.join([&] { ++calls; });
    return "code " + std::to_string(code) + " after " + std::to_string(calls) + " calls";
} catch (const EThreadError& error) {
    char text[200];
    (void)std::snprintf(text, sizeof text, "%X/%zu: %s", error.Event().identifier,
                        error.Event().arguments.Count(), error.what());
    return text;
}

TEST(Thread, EveryAnswerOfTheSystemHasItsOutcome) {
    const std::pair<Script, const char*> kCases[] = {
        {{{WAIT_OBJECT_0}}, "code 7 after 1 calls"},
        {{{WAIT_TIMEOUT, WAIT_TIMEOUT, WAIT_OBJECT_0}}, "code 7 after 3 calls"},
        {{{WAIT_TIMEOUT, WAIT_TIMEOUT}}, "code 7 after 2 calls"},
        {{{WAIT_TIMEOUT, WAIT_FAILED}}, "C1010002/2: WaitForSingleObject failed with error 6."},
        {{{WAIT_ABANDONED}}, "C1010003/2: WaitForSingleObject returned 128."},
        {{{WAIT_IO_COMPLETION}}, "C1010003/2: WaitForSingleObject returned 192."},
        {{{WAIT_TIMEOUT, 1}}, "C1010003/2: WaitForSingleObject returned 1."},
        {{{WAIT_OBJECT_0}, 7, false, true}, "C1010002/2: GetExitCodeThread failed with error 5."},
        {{{}, 7, true}, "C1010002/2: CreateThread failed with error 8."},
    };
    for (const auto& [script, outcome] : kCases)
        EXPECT_EQ(Outcome(script), outcome);
}

TEST(Thread, AFinishedBodyEndsTheWaitBeforeTheSystemKnowsTheExitCode) {
    EXPECT_EQ(Outcome({{WAIT_TIMEOUT}, STILL_ACTIVE}), "code 259 after 1 calls");
}

// --- Its end ----------------------------------------------------------------------------------

TEST(Thread, DestroyingItWaitsForABodyThatHasBegunAndForestallsOneThatHasNot) {
    std::atomic<int> step = 0;
    {
        CTestThread thread([&] {
            step = 1;
            Sleep(100);
            step = 2;
            return 0U;
        });
        thread.start();
        while (step == 0)
            Sleep(1);
    }
    EXPECT_EQ(step, 2);
    Script script;  // the system begins with the thread only when its end is waited for
    s_script = &script;
    {
        CTestThread thread([&] { return static_cast<std::uint32_t>(step = 3); }, kScripted);
        thread.start();
    }
    EXPECT_EQ(step, 2);
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
