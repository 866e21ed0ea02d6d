#include "common/system/os/thread_win32.h"

#include <gmock/gmock.h>

#include "common/system/os/process_counts.h"
#include "support/trace_listener.h"

namespace tarnwell::test {
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

/// FinalCode joins until the system knows the exit code, a moment after the body's end.
std::uint32_t FinalCode(CThread& thread, const std::function<void()>& duties) {
    std::uint32_t code = STILL_ACTIVE;
    while (code == STILL_ACTIVE)
        code = thread.join(duties);
    return code;
}

TEST(Thread, JoinKeepsTheOwnersDutiesGoingAndGivesTheExitCode) {
    std::atomic<bool> isOver = false;
    CTestThread thread([&] {
        while (!isOver)
            Sleep(1);
        return 4711U;
    });
    EXPECT_EQ(thread.join(nullptr), CThread::kNoExitCode) << "it was not started";
    thread.start();
    EXPECT_THROW(thread.start(), std::logic_error);
    EXPECT_THROW(thread.join(nullptr), std::bad_function_call);
    int calls = 0;
    const ULONGLONG start = GetTickCount64();
    EXPECT_EQ(FinalCode(thread, [&] { isOver = ++calls >= 3; }), 4711U);
    EXPECT_GE(GetTickCount64() - start, 150U) << "two slices of a tenth of a second";
    EXPECT_EQ(FinalCode(thread, nullptr), 4711U) << "finished: nothing is called any more";
}

TEST(Thread, ABodyThatThrowsIsTracedAndEndsWithMinusOne) {
    const CTraceListener trace;
    CTestThread thread([]() -> std::uint32_t { throw 5; });
    thread.start();
    EXPECT_EQ(FinalCode(thread, kNoDuties), 0xFFFFFFFF);
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
    [](SECURITY_ATTRIBUTES*, SIZE_T, LPTHREAD_START_ROUTINE entry, void* thread, DWORD,
       DWORD*) -> HANDLE {
        s_script->entry = entry;
        s_script->thread = thread;
        SetLastError(8);
        return s_script->createFails ? nullptr : CreateEventW(nullptr, TRUE, FALSE, nullptr);
    },
    [](HANDLE, DWORD) -> DWORD {
        auto& waits = s_script->waits;
        if (waits.size() <= 1)
            s_script->entry(s_script->thread);
        if (waits.empty())  // the destructor's wait
            return WAIT_OBJECT_0;
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

TEST(Thread, EveryAnswerOfTheSystemHasItsOutcomeAndLeavesNoHandle) {
    const std::pair<Script, const char*> kCases[] = {
        {{{WAIT_OBJECT_0}}, "code 7 after 1 calls"},
        {{{WAIT_TIMEOUT, WAIT_TIMEOUT, WAIT_OBJECT_0}}, "code 7 after 3 calls"},
        // The body has ended, and the system does not know it yet.
        {{{WAIT_TIMEOUT, WAIT_TIMEOUT}, STILL_ACTIVE}, "code 259 after 2 calls"},
        {{{WAIT_TIMEOUT, WAIT_FAILED}}, "C1010002/2: WaitForSingleObject failed with error 6."},
        {{{WAIT_TIMEOUT, WAIT_ABANDONED}}, "C1010003/2: WaitForSingleObject returned 128."},
        {{{WAIT_OBJECT_0}, 7, false, true}, "C1010002/2: GetExitCodeThread failed with error 5."},
        {{{}, 7, true}, "C1010002/2: CreateThread failed with error 8."},
    };
    const std::uint64_t handles = CountProcess().handles;
    for (const auto& [script, outcome] : kCases)
        EXPECT_EQ(Outcome(script), outcome);
    EXPECT_EQ(CountProcess().handles, handles);
    EXPECT_GT(handles, 0U);
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
    CTestThread([&] { return static_cast<std::uint32_t>(step = 3); }, kScripted).start();
    EXPECT_EQ(step, 2);
}

}  // namespace
}  // namespace tarnwell::test
