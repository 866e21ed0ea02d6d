// The event log and the events' texts, from the message table of the built zelLog.dll.

#include <gmock/gmock.h>

#include "common/system/os/event_log_win32.h"
#include "common/system/os/event_message_win32.h"
#include "common/system/os/event_source.h"
#include "common/system/os/install_paths.h"
#include "common/system/os/owners_win32.h"

namespace tarnwell {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

struct Reported {
    WORD type, category;
    DWORD identifier;
    std::vector<std::wstring> texts;
};
std::vector<Reported> s_reported;
std::u16string s_source;
int s_closed = 0;

EventLogSystem WatchedSystem() {
    EventLogSystem system;
    system.open = [](const wchar_t* server, const wchar_t* source) -> HANDLE {
        s_source = server ? u"remote" : Units(source);
        return &s_closed;
    };
    system.report = [](HANDLE log, WORD type, WORD category, DWORD identifier, PSID user,
                       WORD count, DWORD bytes, const wchar_t** texts, void*) -> BOOL {
        EXPECT_TRUE(log == &s_closed && !user && bytes == 0);
        s_reported.push_back({type, category, identifier, {texts, texts + count}});
        return FALSE;
    };
    system.close = [](HANDLE log) -> BOOL { return log == &s_closed && ++s_closed; };
    return system;
}

TEST(WinEventLog, ReportsWhatTheEventCarriesUpToTheSystemsLimits) {
    CEvent event{0, 3, {}};
    event.arguments.Add(u"first").Add(4711).Add(std::u16string(40'000, u'x'));
    for (int i = 0; i < 300; ++i)
        event.arguments.Add(i);
    {
        CWinEventLog log(WatchedSystem());
        for (const std::uint32_t identifier :
             {0x3FFFFFFFu, 0x40000000u, 0x81010007u, 0xC1010007u}) {
            event.identifier = identifier;
            log.Report(event);
            EXPECT_EQ(s_reported.back().identifier, identifier);
        }
    }
    EventLogSystem refusing = WatchedSystem();
    refusing.open = [](const wchar_t*, const wchar_t*) -> HANDLE { return nullptr; };
    CWinEventLog(refusing).Report(event);
    EXPECT_EQ(s_source, kEventSourceName);
    EXPECT_EQ(s_closed, 1);
    std::vector<WORD> types;
    types.reserve(s_reported.size());
    for (const Reported& each : s_reported)
        types.push_back(each.type);
    EXPECT_THAT(types, ElementsAre(EVENTLOG_ERROR_TYPE, EVENTLOG_INFORMATION_TYPE,
                                   EVENTLOG_WARNING_TYPE, EVENTLOG_ERROR_TYPE))
        << "a forgotten severity is an error";
    EXPECT_EQ(s_reported[0].category, 3);
    std::vector<std::wstring>& texts = s_reported[0].texts;
    EXPECT_THAT(texts, SizeIs(256));
    texts.resize(3);
    EXPECT_THAT(texts, ElementsAre(L"first", L"4711", std::wstring(31'839, L'x')));
}

TEST(EventMessage, HasATextInFourLanguagesWhateverTheCountry) {
    const struct {
        DWORD language;
        const char16_t* failed;
    } kCases[] = {
        {0x80A, u"La llamada al sistema %1 ha fallado con el error %2."},
        {0xC0C, u"L'appel syst\u00e8me %1 a \u00e9chou\u00e9 avec l'erreur %2."},
        {0x415, u"Wywo\u0142anie systemowe %1 nie powiod\u0142o si\u0119, b\u0142\u0105d %2."},
        {0x409, u"The system call %1 failed with error %2."},
    };
    const CUniqueModule library(LoadLibraryW(Wide(TraceLibraryPath())));
    for (const auto& row : kCases) {
        const auto text = [&](DWORD event) {
            wchar_t units[200] = L"";
            FormatMessageW(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_IGNORE_INSERTS,
                           library.Get(), event, row.language, units, 200, nullptr);
            return WithoutTrailingSpace(Units(units));
        };
        EXPECT_EQ(text(kEventReadyMade), u"%1") << row.language;
        EXPECT_EQ(text(kEventSystemCallFailed), row.failed) << row.language;
        EXPECT_NE(text(kEventUnexpectedResult).Find(u"%2."), CUTF16String::npos) << row.language;
    }
}

TEST(EventMessage, IsFilledInOrWhatTheEventCarries) {
    CEvent event{kEventUnexpectedResult, 0, {}};
    event.arguments.Add(u"a %1 ").Add(128U).Add(u"b\t\r\n");
    EXPECT_EQ(MessageText(event), u"The system call a %1  returned the unexpected result 128.");
    EXPECT_EQ(MessageText(event, nullptr), u"Unable to retrieve message.");
    EXPECT_EQ(MessageText({kEventSystemCallFailed, 0, {}}), u"The system call  failed with error .")
        << "no argument is there to be read";
    event.identifier = 0xFFF;
    EXPECT_EQ(MessageText(event),
              u"Unable to retrieve message (msgid is 0x00000FFF).\na %1 \n128\nb");
    CEvent ready{kEventReadyMade, 0, {}};
    ready.arguments.Add(u"100%1 \n");
    EXPECT_EQ(MessageText(ready), u"100%1 \n");
    EXPECT_EQ(MessageText(ready, nullptr), u"100%1 \n");
}

TEST(EventMessage, DescribesTheSystemsErrors) {
    const CUTF16String denied = SystemErrorDescription(ERROR_ACCESS_DENIED);
    EXPECT_TRUE(denied.AsView().ends_with(u" (5)") && denied.Length() > 8);
    EXPECT_EQ(denied.Find(u'\n'), CUTF16String::npos);
    EXPECT_EQ(SystemErrorDescription(0x2FFF1234), u"Unavailable description.  (805245492)");
    EXPECT_EQ(WithoutTrailingSpace(u" \r\n"), u"");
}

}  // namespace
}  // namespace tarnwell
