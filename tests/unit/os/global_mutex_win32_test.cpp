#include "common/system/os/global_mutex_win32.h"

#include <gmock/gmock.h>

#include <future>
#include <mutex>

#include "common/system/os/install_paths.h"
#include "support/trace_listener.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;

/// Start runs mutex_holder beside this program.
CUniqueHandle Start(const CUTF16String& name, const CUTF16String& end) {
    std::u16string command((CUTF16String(u"mutex_holder ") + name + u" " + end).AsView());
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    EXPECT_TRUE(CreateProcessW(Wide(ModuleDirectory() + u"\\mutex_holder.exe"),
                               reinterpret_cast<wchar_t*>(command.data()), nullptr, nullptr, FALSE,
                               0, nullptr, nullptr, &startup, &process));
    CloseHandle(process.hThread);
    return CUniqueHandle(process.hProcess);
}

TEST(GlobalMutex, IsWaitedForWhileAnotherProcessHoldsItAndFreeWhenThatUnlocksOrDies) {
    for (const char16_t* end : {u"unlock", u"die"}) {
        const CUTF16String name = CUTF16String(u"tarnwell test ") + end;
        const CUTF16String quoted = CUTF16String(u"\"") + name + u"\"";
        const CUniqueHandle held(CreateEventW(nullptr, TRUE, FALSE, Wide(name + u".held")));
        const CUniqueHandle go(CreateEventW(nullptr, TRUE, FALSE, Wide(name + u".go")));
        const CUniqueHandle holder = Start(quoted, end);
        ASSERT_EQ(WaitForSingleObject(held.Get(), 20'000), WAIT_OBJECT_0);
        CGlobalMutex mutex(name);
        auto locked = std::async(std::launch::async, [&] {
            const std::lock_guard lock(mutex);
            const std::lock_guard again(mutex);
        });
        EXPECT_EQ(locked.wait_for(200ms), std::future_status::timeout);
        SetEvent(go.Get());
        EXPECT_EQ(locked.wait_for(10s), std::future_status::ready);
        EXPECT_EQ(WaitForSingleObject(holder.Get(), 0) == WAIT_OBJECT_0, end[0] == u'd');
        TerminateProcess(holder.Get(), 0);
        mutex.Close();
        mutex.lock();  // nobody's turn any more, and nothing to wait for
        mutex.unlock();
    }
}

TEST(GlobalMutex, OneThatCannotBeMadeIsTracedAndHoldsNobodyUp) {
    const CUniqueHandle other(
        CreateEventW(nullptr, TRUE, FALSE, L"c6e241f3-aa55-4c33-80ce-1dd5d0c8c3d0/taken"));
    const test::CTraceListener trace;
    const CGlobalMutex mutex(u"taken");
    EXPECT_FALSE(mutex.IsOpen());
    EXPECT_THAT(trace.Messages(),
                testing::ElementsAre("Warning: Mutex creation failed: "));  // without a library
    mutex.lock();
    mutex.unlock();
}

}  // namespace
}  // namespace tarnwell
