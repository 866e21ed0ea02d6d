// What the foundation says of, and to, other programs: real ones, started here.

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include "common/system/os/global_mutex_win32.h"
#include "common/system/os/host_application.h"
#include "common/system/os/manager_notice_win32.h"
#include "support/peer_process_win32.h"
#include "support/temp_folder.h"
#include "support/trace_listener.h"

namespace tarnwell::test {
namespace {

using testing::ElementsAre;

// --- What a program calls itself ---------------------------------------------------------------

/// What is put over one byte of the program's version resource, and the name that this leaves.
struct Change {
    std::u16string_view key;  // where it stands last, behind the code that looks for it
    std::ptrdiff_t offset;    // from the key's first byte on
    char byte;
    std::string name;
};

TEST(GetHostApplicationName, IsTheDescriptionInTheUsersLanguageOrTheFileName) {
    ASSERT_EQ(GetUserDefaultLangID(), 0x0409) << "Papers is in this language";
    constexpr std::ptrdiff_t kValueLength = -4;
    const Change kCases[] = {
        {u"FileDescription", 0, 'F', "Papers"},  // as it was built
        {u"FileDescription", 0, 'X', "two"},
        {u"VarFileInfo", 0, 'X', "two"},
        {u"Translation", kValueLength, 2, "two"},  // half an entry
        {u"Translation", kValueLength, 4, "Papiers d'\xC3\xA9t\xC3\xA9"},
        {u"Translation", kValueLength, 8, "Neutral"},
    };
    const CTempFolder folder;
    const std::string built = ReadBytes(PeerProgram());
    for (const auto& [key, offset, byte, name] : kCases) {
        std::string bytes = built;
        const std::size_t at =
            bytes.rfind({reinterpret_cast<const char*>(key.data()), 2 * key.size()});
        bytes.at(at + static_cast<std::size_t>(offset)) = byte;
        EXPECT_EQ(CPeerProcess("name", folder.Write("two.dots.exe", bytes)).ReadLine(),
                  std::to_string(name.size()) + " " + name);
    }
}

// --- What it is told ---------------------------------------------------------------------------

TEST(NotifyManager, SendsBothTextsToTheManagersWindow) {
    const CTraceListener trace;
    NotifyManager("card", "in");
    CPeerProcess manager("window");
    ASSERT_NE(manager.ReadLine(), "");
    NotifyManager("card", "reader \xC3\xA9");
    EXPECT_EQ(manager.ReadLine(), "10 14 0 card|reader \xC3\xA9");
    const std::string name = "Posting notification to manager";
    EXPECT_THAT(trace.Lines(), ElementsAre("enter " + name, "leave " + name, "enter " + name,
                                           "Window found", "leave " + name));
}

/// What a peer waits for that was given its name.
constexpr char kEvent[] = "tarnwell-peer-goes-on";
CUniqueHandle MakeEvent() {
    return CUniqueHandle(CreateEventA(nullptr, FALSE, FALSE, kEvent));
}

TEST(NotifyManager, WaitsForAHungManagerNoLongerThanHalfASecond) {
    const CUniqueHandle event = MakeEvent();
    CPeerProcess manager(std::string("window ") + kEvent);
    ASSERT_NE(manager.ReadLine(), "");
    const auto start = std::chrono::steady_clock::now();
    NotifyManager("", "");
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    EXPECT_GE(taken.count(), 0.45);
    EXPECT_LT(taken.count(), 5);  // a busy machine adds to the 0.5 s, the hung window must not
    SetEvent(event.Get());
    EXPECT_EQ(manager.ReadLine(), "10 1 0 |");
}

// --- Taking turns with it ----------------------------------------------------------------------

TEST(GlobalMutex, IsWaitedForWhileAnotherProcessHoldsItAndFreeWhenThatUnlocksOrDies) {
    const CGlobalMutex mutex(u"test");
    const CUniqueHandle same(
        OpenMutexW(SYNCHRONIZE, FALSE, L"c6e241f3-aa55-4c33-80ce-1dd5d0c8c3d0/test"));
    const CUniqueHandle event = MakeEvent();
    const std::string hold = std::string("hold test ") + kEvent;
    CPeerProcess unlocking(hold);
    ASSERT_NE(unlocking.ReadLine(), "");
    EXPECT_EQ(WaitForSingleObject(same.Get(), 0), DWORD{WAIT_TIMEOUT});
    SetEvent(event.Get());
    EXPECT_EQ(WaitForSingleObject(same.Get(), 10'000), DWORD{WAIT_OBJECT_0});
    mutex.unlock();
    CPeerProcess dying(hold + " die");
    ASSERT_NE(dying.ReadLine(), "");
    std::atomic<bool> mayDie = false;
    const std::jthread killer([&] {
        Sleep(100);
        mayDie = true;
        SetEvent(event.Get());
    });
    const std::lock_guard lock(mutex);
    const std::lock_guard again(mutex);
    EXPECT_TRUE(mayDie) << "it was held all the time";
}

TEST(GlobalMutex, OneThatCannotBeMadeIsTracedAndHoldsNobodyUp) {
    const CUniqueHandle other(
        CreateEventW(nullptr, TRUE, FALSE, L"c6e241f3-aa55-4c33-80ce-1dd5d0c8c3d0/taken"));
    const CTraceListener trace;
    const CGlobalMutex mutex(u"taken");
    EXPECT_THAT(trace.Messages(), ElementsAre("Warning: Mutex creation failed: "));
    mutex.lock();
    mutex.unlock();
}

}  // namespace
}  // namespace tarnwell::test
