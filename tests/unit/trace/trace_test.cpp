#include "common/system/trace/trace.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "support/trace_listener.h"

namespace tarnwell::test {
namespace {

using testing::ElementsAre;

TEST(TraceTest, AScopeReportsItsExitOnEveryWayOut) {
    CTraceListener trace;
    const auto traced = [](int way) {
        const CTraceScope scope("Class::Method");
        if (way == 1)
            return;
        if (way == 2)
            throw std::runtime_error("out");
        TraceString("end");
    };
    traced(0);
    EXPECT_THAT(trace.Lines(), ElementsAre("enter Class::Method", "end", "leave Class::Method"));
    trace.Clear();
    traced(1);
    EXPECT_THROW(traced(2), std::runtime_error);
    EXPECT_THAT(trace.Lines(), ElementsAre("enter Class::Method", "leave Class::Method",
                                           "enter Class::Method", "leave Class::Method"));
    EXPECT_EQ(trace.Count("leave Class::Method"), 2u);
}

TEST(TraceTest, APercentSignInAMessageHasNoMeaning) {
    CTraceListener trace;
    TraceString("100%s %n of http%3A%2F%2F");
    TraceString("Warning: Mutex creation failed: %s", "%s%n%d");
    EXPECT_THAT(trace.Messages(),
                ElementsAre("100%s %n of http%3A%2F%2F", "Warning: Mutex creation failed: %s%n%d"));
}

TEST(TraceTest, AnEntryThatTheLibraryLacksIsNotCalled) {
    const TraceLibrary bare;
    const TraceLibrary* const before = ReplaceTraceLibrary(&bare);
    {
        const CTraceScope scope("Class::Method");
        TraceString("message");
    }
    EXPECT_STREQ(GetWin32ErrorString(5), "");
    EXPECT_STREQ(GetCkErrorString(5), "");
    EXPECT_EQ(ReplaceTraceLibrary(before), &bare);
}

TEST(TraceTest, ErrorTextsComeFromTheLibrary) {
    CTraceListener trace;
    EXPECT_STREQ(GetWin32ErrorString(5), "Win32 error 5");
    EXPECT_STREQ(GetCkErrorString(0xA0), "CK error 160");
    TraceLibrary nothing;
    nothing.getWin32ErrorString = [](std::uint32_t) -> const char* { return nullptr; };
    const TraceLibrary* const before = ReplaceTraceLibrary(&nothing);
    EXPECT_STREQ(GetWin32ErrorString(5), "") << "no caller has to expect null";
    ReplaceTraceLibrary(before);
}

}  // namespace
}  // namespace tarnwell::test
