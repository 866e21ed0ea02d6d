#include "common/system/os/global_mutex_win32.h"

#include <gmock/gmock.h>

#include <mutex>

#include "support/peer_process_win32.h"
#include "support/trace_listener.h"

namespace tarnwell {
namespace {

TEST(GlobalMutex, IsWaitedForWhileAnotherProcessHoldsItAndFreeWhenThatUnlocksOrDies) {
    const CGlobalMutex mutex(u"test");
    const CUniqueHandle same(
        OpenMutexW(SYNCHRONIZE, FALSE, L"c6e241f3-aa55-4c33-80ce-1dd5d0c8c3d0/test"));
    test::CPeerProcess unlocking("hold test");
    ASSERT_NE(unlocking.ReadLine(), "");
    EXPECT_EQ(WaitForSingleObject(same.Get(), 0), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(WaitForSingleObject(same.Get(), 10'000), DWORD{WAIT_OBJECT_0});
    mutex.unlock();
    test::CPeerProcess dying("hold test die");
    ASSERT_NE(dying.ReadLine(), "");
    const ULONGLONG start = GetTickCount64();
    {
        const std::lock_guard lock(mutex);
        const std::lock_guard again(mutex);
        EXPECT_GE(GetTickCount64() - start, 100U);
    }
}

TEST(GlobalMutex, OneThatCannotBeMadeIsTracedAndHoldsNobodyUp) {
    const CUniqueHandle other(
        CreateEventW(nullptr, TRUE, FALSE, L"c6e241f3-aa55-4c33-80ce-1dd5d0c8c3d0/taken"));
    const test::CTraceListener trace;
    const CGlobalMutex mutex(u"taken");
    EXPECT_THAT(trace.Messages(),
                testing::ElementsAre("Warning: Mutex creation failed: "));  // without a library
    mutex.lock();
    mutex.unlock();
}

}  // namespace
}  // namespace tarnwell
