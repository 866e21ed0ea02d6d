// The event log and the events' texts, from the message table of the built zelLog.dll.

#include <gmock/gmock.h>

#include "common/system/os/event_log_win32.h"
#include "common/system/os/event_message_win32.h"
#include "common/system/os/event_source.h"
#include "common/system/os/install_paths.h"

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
    CEvent event{0x01010007, 3, {}};
    event.arguments.Add(u"first").Add(4711).Add(std::u16string(40'000, u'x'));
    CEvent crowded{0x41010007, 0, {}};
    for (int i = 0; i < 300; ++i)
        crowded.arguments.Add(i);
    {
        CWinEventLog log(WatchedSystem());
        log.Report(event);
        log.Report(crowded);
    }
    EventLogSystem refusing = WatchedSystem();
    refusing.open = [](const wchar_t*, const wchar_t*) -> HANDLE { return nullptr; };
    CWinEventLog(refusing).Report(event);
    EXPECT_EQ(s_source, kEventSourceName);
    EXPECT_EQ(s_closed, 1);
    ASSERT_THAT(s_reported, SizeIs(2));
    EXPECT_EQ(s_reported[0].type, EVENTLOG_ERROR_TYPE);
    EXPECT_EQ(s_reported[0].category, 3);
    EXPECT_EQ(s_reported[0].identifier, event.identifier);
    EXPECT_THAT(s_reported[0].texts, ElementsAre(L"first", L"4711", std::wstring(31'839, L'x')));
    EXPECT_EQ(s_reported[1].type, EVENTLOG_INFORMATION_TYPE);
    EXPECT_THAT(s_reported[1].texts, SizeIs(256));
}

CEvent WaitEvent(std::uint32_t identifier) {
    CEvent event{identifier, 0, {}};
    event.arguments.Add(u"WaitForSingleObject").Add(128U);
    return event;
}

TEST(EventMessage, HasATextInFourLanguagesWhateverTheCountry) {
    const struct {
        DWORD language;
        const char16_t *failed, *unexpected;
    } kCases[] = {
        {0x80A, u"La llamada al sistema %1 ha fallado con el error %2.",
         u"La llamada al sistema %1 ha devuelto el resultado inesperado %2."},
        {0xC0C, u"L'appel syst\u00e8me %1 a \u00e9chou\u00e9 avec l'erreur %2.",
         u"L'appel syst\u00e8me %1 a renvoy\u00e9 le r\u00e9sultat inattendu %2."},
        {0x415, u"Wywo\u0142anie systemowe %1 nie powiod\u0142o si\u0119, b\u0142\u0105d %2.",
         u"Wywo\u0142anie systemowe %1 zwr\u00f3ci\u0142o nieoczekiwany wynik %2."},
        {0x409, u"The system call %1 failed with error %2.",
         u"The system call %1 returned the unexpected result %2."},
    };
    const HMODULE library = LoadLibraryW(Wide(TraceLibraryPath()));
    const auto text = [&](DWORD event, DWORD language) {
        wchar_t units[200] = L"";
        FormatMessageW(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_IGNORE_INSERTS, library, event,
                       language, units, 200, nullptr);
        return WithoutTrailingSpace(Units(units));
    };
    for (const auto& [language, failed, unexpected] : kCases) {
        EXPECT_EQ(text(kEventReadyMade, language), u"%1") << language;
        EXPECT_EQ(text(kEventSystemCallFailed, language), failed) << language;
        EXPECT_EQ(text(kEventUnexpectedResult, language), unexpected) << language;
    }
    FreeLibrary(library);
}

TEST(EventMessage, IsFilledInOrWhatTheEventCarries) {
    EXPECT_EQ(MessageText(WaitEvent(kEventUnexpectedResult)),
              u"The system call WaitForSingleObject returned the unexpected result 128.");
    EXPECT_EQ(MessageText({kEventSystemCallFailed, 0, {}}), u"The system call  failed with error .")
        << "no argument is there to be read";
    EXPECT_EQ(MessageText(WaitEvent(0xC1010FFF)),
              u"Unable to retrieve message (msgid is 0xC1010FFF).\nWaitForSingleObject\n128");
    EXPECT_EQ(MessageText(WaitEvent(kEventUnexpectedResult), nullptr),
              u"Unable to retrieve message.");
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
}

}  // namespace
}  // namespace tarnwell
