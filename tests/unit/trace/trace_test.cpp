#include "common/system/trace/trace.h"

#include <gmock/gmock.h>

#include <cstdarg>

#include "support/trace_listener.h"

namespace tarnwell::test {
namespace {

using testing::ElementsAre;

TEST(TraceTest, AScopeReportsItsExitOnEveryWayOut) {
    CTraceListener trace;
    const auto traced = [](bool fails) {
        const CTraceScope scope("Class::Method");
        if (fails)
            throw std::runtime_error("out");
        TraceString("100%s %n of http%3A%2F%2F");
        TraceString("Warning: Mutex creation failed: %s", "%s%n%d");
    };
    traced(false);
    EXPECT_THROW(traced(true), std::runtime_error);
    EXPECT_THAT(trace.Lines(),
                ElementsAre("enter Class::Method", "100%s %n of http%3A%2F%2F",
                            "Warning: Mutex creation failed: %s%n%d", "leave Class::Method",
                            "enter Class::Method", "leave Class::Method"));
}

TEST(TraceTest, WhatTheLibraryLacksOrLeavesOutIsAnEmptyText) {
    TraceLibrary nothing;
    const TraceLibrary* const before = ReplaceTraceLibrary(&nothing);
    { const CTraceScope scope("Class::Method"); }
    TraceString("message");
    EXPECT_STREQ(GetWin32ErrorString(5), "");
    nothing.getCkErrorString = [](unsigned long) -> const char* { return nullptr; };
    EXPECT_STREQ(GetCkErrorString(5), "");
    nothing.getCkErrorString = [](unsigned long code) { return code == 160 ? "160" : "other"; };
    EXPECT_STREQ(GetCkErrorString(160), "160");
    EXPECT_EQ(ReplaceTraceLibrary(before), &nothing);
}

std::string s_entered;

// NOLINTNEXTLINE(cert-dcl50-cpp): the interface is variadic.
void KeepEntry(const char* name, ...) {
    std::va_list arguments;
    va_start(arguments, name);
    const char* text = va_arg(arguments, const char*);
    s_entered = name + std::string("/") + text + "/" + std::to_string(va_arg(arguments, int));
    va_end(arguments);
}

TEST(TraceTest, ArgumentsOfTheFunctionFollowItsNameOnEntry) {
    TraceLibrary library;
    library.traceEnter = KeepEntry;
    const TraceLibrary* const before = ReplaceTraceLibrary(&library);
    { const CTraceScope scope("Lang::operator[]", "title", 5); }
    ReplaceTraceLibrary(before);
    EXPECT_EQ(s_entered, "Lang::operator[]/title/5");
}

}  // namespace
}  // namespace tarnwell::test
