#include "tarnwell/win32/context_menu.h"

#include <algorithm>
#include <chrono>

#include "context_menu_fixture.h"
#include "support/heap_checks.h"
#include "tarnwell/core/manager_address.h"

namespace tarnwell::test {
namespace {

using namespace std::string_literals;
using Sent = decltype(CRecordingServices::sent);

TEST_F(ContextMenuTest, TakesAndReportsTheSelectionInItsOrder) {
    EXPECT_EQ(Select({L"C:\\\u00e9.txt", L"C:\\100%s, a b.p7"}), S_OK);
    EXPECT_EQ(trace.Lines(),
              (Strings{"enter CContextMenu::Initialize", "Locking medium...",
                       "The files is wide, name is: C:\\\xc3\xa9.txt",
                       "The files is wide, name is: C:\\100%s, a b.p7", "Unlocking medium",
                       "Releasing medium", "leave CContextMenu::Initialize"}));
    trace.Clear();
    EXPECT_EQ(SelectBlock(DropBlock(false, "C:\\\xe9\0\0"s)), S_OK);
    EXPECT_EQ(trace.Messages()[1], "The files is not wide, name is: C:\\\xe9");
    Invoke(1);
    EXPECT_EQ(services.sent, (Sent{{kActionEncrypt, {u"C:\\\u00e9"}}}));
}

TEST_F(ContextMenuTest, RefusesASelectionWithoutFilesAndForgetsTheOneBefore) {
    const Strings withoutData = {"Failed to Get data"};
    const Strings withoutFiles = {"Locking medium...", "Unlocking medium because no files",
                                  "Releasing medium"};
    const std::string whole = DropBlock({text});
    std::string pointsOutside = whole;
    pointsOutside[2] = 1;  // names 64 KiB behind the header
    const struct {
        const char* what;
        std::optional<std::string> block;
        const Strings& messages;
    } kCases[] = {
        {"no data", std::nullopt, withoutData},
        {"an empty list", DropBlock({}), withoutFiles},
        {"shorter than its header", std::string(8, '\0'), withoutFiles},
        {"names outside the block", pointsOutside, withoutFiles},
        {"no empty name at the end", whole.substr(0, whole.size() - 2), withoutFiles},
        {"half a unit at the end", whole.substr(0, whole.size() - 1), withoutFiles},
    };
    for (const auto& test : kCases) {
        EXPECT_EQ(Select({text}), S_OK);
        trace.Clear();
        services.sent.clear();
        EXPECT_EQ(SelectBlock(test.block), E_INVALIDARG) << test.what;
        EXPECT_EQ(trace.Messages(), test.messages) << test.what;
        Invoke(0);
        EXPECT_EQ(services.sent, (Sent{{kActionSign, {}}})) << test.what;
    }
    EXPECT_EQ(handler->Initialize(nullptr, nullptr, nullptr), E_INVALIDARG);
}

TEST_F(ContextMenuTest, SelectionFlagsAndIdsDecideTheRows) {
    const std::string protect =
        "-\n7 Sign \xc3\xa9 205\n8 Encrypt 206\n9 Sign and encrypt 207\n-\n";
    const std::string open = "-\n9 Recover and verify\n7 Open!\n-\n";
    const std::string recover = "-\n9 Recover\n7 Open!\n-\n";
    const struct {
        std::vector<std::wstring> files;
        UINT flags, last;
        HRESULT result;
        std::string rows;
    } kCases[] = {
        {{text}, CMF_NORMAL, 10, kFilled, protect},
        {{text}, CMF_NORMAL, 9, S_OK, ""},  // the three ids would do, one more is asked for
        {{text}, CMF_DEFAULTONLY, 8, E_FAIL, ""},
        {{isSigned}, CMF_NORMAL, 9, kFilled, open},
        {{isSigned}, CMF_NORMAL, 8, S_OK, ""},
        {{isSigned}, CMF_DEFAULTONLY, 99, kFilled, open},
        {{isSigned}, CMF_NODEFAULT, 99, kFilled, protect},
        {{isSigned}, CMF_NODEFAULT | CMF_DEFAULTONLY, 99, E_FAIL, ""},
        {{L"C:\\a.p7m"}, CMF_NORMAL, 99, kFilled, protect},
        {{isSigned, isBoth, text}, CMF_NORMAL, 99, kFilled, protect},
        {{isBoth}, CMF_NORMAL, 99, kFilled, open},
        {{isBroken}, CMF_NORMAL, 99, kFilled, "-\n7 Open!\n-\n"},
        {{isEncrypted}, CMF_NORMAL, 99, kFilled, recover},
        {{isEncrypted, text}, CMF_NORMAL, 99, kFilled, recover},  // keeps the mode of one file
    };
    for (const auto& test : kCases) {
        Select({test.files.front()});  // the explorer hands over the first ones, then all
        Select(test.files);
        for (int again = 0; again < 2; ++again) {
            EXPECT_EQ(Query(test.flags, 7, test.last), test.result) << test.rows;
            EXPECT_EQ(Drawn(), test.rows);
        }
    }
    EXPECT_EQ(Query(CMF_NORMAL, 0xFFFFFFFE, 0xFFFFFFFF), S_OK);  // nothing wraps round to "fits"
}

TEST_F(ContextMenuTest, InsertsBetweenTheItemsOfOthersAndNothingWithoutTexts) {
    menu.Reset(CreatePopupMenu());
    AppendMenuW(menu.Get(), MF_STRING, 1, L"above");
    AppendMenuW(menu.Get(), MF_STRING, 2, L"below");
    Select({isSigned});
    EXPECT_EQ(handler->QueryContextMenu(menu.Get(), 1, 7, 99, CMF_NORMAL), kFilled);
    EXPECT_EQ(Drawn(), "1 above\n-\n9 Recover and verify\n7 Open!\n-\n2 below\n");
    EXPECT_EQ(handler->QueryContextMenu(nullptr, 0, 7, 99, CMF_NORMAL), E_FAIL);
    services.hasCatalogue = false;
    EXPECT_EQ(Query(), E_FAIL);
    EXPECT_EQ(Drawn(), "");
}

TEST_F(ContextMenuTest, ReportsWhatItAddsAndWhyAFileHasNoType) {
    Query();
    EXPECT_EQ(trace.Messages(), Strings{"adding sign and encrypte menu"});
    Select({isBroken});
    trace.Clear();
    Query();
    EXPECT_EQ(Invoke(0), E_FAIL);
    const std::string parse = "Failed to create PKCS7 from encrypted file";
    const std::string type = "Impossible to get file type: ERROR_OPENSSL,ERROR_RECOVER";
    EXPECT_EQ(trace.Messages(),
              (Strings{"adding recover menu", parse, type, "open command clicked", parse, type}));
    EXPECT_EQ(services.boxes, (Paths{u"General title", u"General text"}));
    EXPECT_TRUE(services.sent.empty());
}

TEST_F(ContextMenuTest, TellsVerbsInBothCharacterSizesAndCutsThem) {
    constexpr auto kTooSmall = static_cast<HRESULT>(0x8007007A);
    const struct {
        UINT_PTR offset;
        UINT size;
        HRESULT result;
        std::string verb;
        HRESULT openResult;  // with a container the verb is "recover" at every offset
    } kCases[] = {
        {0, 40, S_OK, "sign", S_OK},
        {1, 40, S_OK, "encrypt", S_OK},
        {2, 40, S_OK, "sign+encrypt", S_OK},
        {1ULL << 32, 40, E_INVALIDARG, "######", S_OK},
        {0, 0, E_INVALIDARG, "######", E_INVALIDARG},
        {0, 1, kTooSmall, "", kTooSmall},
        {0, 4, kTooSmall, "sig", kTooSmall},
        {0, 5, S_OK, "sign", kTooSmall},
        {0, 0x7FFFFFFF, S_OK, "sign", S_OK},
        {0, 0x80000000, E_INVALIDARG, "######", E_INVALIDARG},
    };
    const auto ask = [&](UINT_PTR offset, UINT type, void* buffer, UINT size) {
        return handler->GetCommandString(offset, type, nullptr, static_cast<char*>(buffer), size);
    };
    char narrow[40] = {};
    for (const auto& test : kCases) {  // before any menu
        std::strcpy(narrow, "######");
        wchar_t wide[40] = L"######";
        EXPECT_EQ(ask(test.offset, GCS_VERBA, narrow, test.size), test.result);
        EXPECT_EQ(ask(test.offset, GCS_VERBW, wide, test.size), test.result);
        EXPECT_EQ(narrow, test.verb);
        EXPECT_EQ(wide, std::wstring(test.verb.begin(), test.verb.end()));
    }
    Select({isSigned});
    Query();
    for (const auto& test : kCases)
        EXPECT_EQ(ask(test.offset, GCS_VERBA, narrow, test.size), test.openResult);
    EXPECT_STREQ(narrow, "recover");
    for (const UINT type : {UINT{GCS_HELPTEXTA}, UINT{GCS_HELPTEXTW}, UINT{GCS_VALIDATEW}, 99U})
        EXPECT_EQ(ask(0, type, narrow, 40), E_INVALIDARG) << type;
    EXPECT_EQ(ask(0, GCS_VERBA, nullptr, 40), E_INVALIDARG);
}

TEST_F(ContextMenuTest, EveryCommandReachesItsActionAndNoOtherOffsetDoes) {
    const struct {
        const std::wstring& file;
        UINT flags, offset;
        ActionCode action;
        const char* line;  // two of them name another command; null: no such command
    } kCases[] = {
        {text, 0, 0, kActionSign, "recover command clicked"},
        {text, 0, 1, kActionEncrypt, "encrypt command clicked"},
        {text, 0, 2, kActionSignEncrypt, "encrypt  and signe command clicked"},
        {text, 0, 0xFFFF, 0, nullptr},
        {isSigned, 0, 0, kActionOpen, "open command clicked"},
        {isEncrypted, 0, 0, kActionRecover, "open command clicked"},
        {isBoth, 0, 0, kActionRecover, "open command clicked"},
        {isSigned, 0, 2, kActionRecover, "sign command clicked"},
        {isSigned, 0, 1, 0, nullptr},
        // The items of such a menu are the protecting ones, the object still knows a container.
        {isSigned, CMF_NODEFAULT, 1, 0, nullptr},
        {isSigned, CMF_NODEFAULT, 2, kActionRecover, "sign command clicked"},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(std::to_string(test.offset) + (test.line ? test.line : " is refused"));
        Select({test.file});
        Query(test.flags);
        trace.Clear();
        services.sent.clear();
        EXPECT_EQ(Invoke(test.offset), test.line ? S_OK : E_INVALIDARG);
        Sent sent;
        if (test.line)
            sent = {{test.action, {std::u16string(test.file.begin(), test.file.end())}}};
        EXPECT_EQ(services.sent, sent);
        EXPECT_EQ(trace.Messages(), test.line ? Strings{test.line} : Strings{});
    }
    EXPECT_TRUE(services.boxes.empty());
    EXPECT_TRUE(DeleteFileW(isSigned.c_str()));  // nothing holds it open
    EXPECT_EQ(Invoke(0), E_FAIL);                // and what cannot be read has no message
    SelectBlock(std::nullopt);
    EXPECT_EQ(Invoke(0), E_FAIL);  // nor has what is not there
    EXPECT_TRUE(services.boxes.empty());
}

TEST_F(ContextMenuTest, RefusesVerbsGivenAsText) {
    const char* const second = MAKEINTRESOURCEA(1);
    const wchar_t* const wideSecond = MAKEINTRESOURCEW(1);
    const struct {
        const char* verb;
        const wchar_t* wideVerb;
        DWORD mask;
        HRESULT result;
        DWORD size = sizeof(CMINVOKECOMMANDINFOEX);
    } kCases[] = {
        {"encrypt", nullptr, 0, E_INVALIDARG},
        {"encrypt", wideSecond, CMIC_MASK_UNICODE, E_INVALIDARG},
        {nullptr, L"encrypt", CMIC_MASK_UNICODE, E_INVALIDARG},
        {second, wideSecond, CMIC_MASK_UNICODE, S_OK},
        {second, nullptr, CMIC_MASK_UNICODE, S_OK},
        {second, L"sign", 0, S_OK},  // without the mask the wide member means nothing
        // The structure of 8-bit callers ends before it, whatever the mask says.
        {second, L"sign", CMIC_MASK_UNICODE, S_OK, sizeof(CMINVOKECOMMANDINFO)},
    };
    Select({text});
    for (const auto& test : kCases) {
        CMINVOKECOMMANDINFOEX info = {};
        info.fMask = test.mask;
        info.lpVerb = test.verb;
        info.lpVerbW = test.wideVerb;
        info.cbSize = test.size;
        auto* const start = reinterpret_cast<CMINVOKECOMMANDINFO*>(&info);
        EXPECT_EQ(handler->InvokeCommand(start), test.result);
    }
    EXPECT_EQ(services.sent, Sent(4, {kActionEncrypt, {u"C:\\a, b.txt"}}));
    EXPECT_EQ(handler->InvokeCommand(nullptr), E_INVALIDARG);
}

TEST_F(ContextMenuTest, AFailureIsShownInTheCataloguesWords) {
    const struct {
        ResultCode result;
        Paths box;
        bool hasCatalogue = true;
    } kCases[] = {
        {1, {u"Recover title", u"Recover text"}},
        {2, {u"Open text", u"Open text"}},  // one text for both, as the manager has it
        {3, {u"General title", u"General text"}},
        {4, {}},
        {3, {}, false},
    };
    Select({text});
    for (const auto& test : kCases) {
        services.boxes.clear();
        services.result = test.result;
        services.hasCatalogue = test.hasCatalogue;
        EXPECT_EQ(Invoke(0), E_FAIL);
        EXPECT_EQ(services.boxes, test.box) << test.result;
    }
    EXPECT_EQ(services.owner, GetDesktopWindow());
}

TEST_F(ContextMenuTest, ASelectionThatChangesInTheMiddleLeavesTheRequestItsList) {
    // The manager's start and every box run the message loop, through which the explorer calls in.
    services.during = [&](auto) { handler->Initialize(nullptr, nullptr, nullptr); };
    Select({L"C:\\a", L"C:\\b"});
    EXPECT_EQ(Invoke(0), S_OK);
    EXPECT_EQ(services.sent, (Sent{{kActionSign, {u"C:\\a", u"C:\\b"}}}));
}

TEST_F(ContextMenuTest, ThousandsOfFilesTakeTimeInProportion) {
    if (UnderHeapChecks())
        GTEST_SKIP() << "each heap call validates the whole heap: nothing is in proportion";
    // The listener keeps every line, so its own memory would be measured as well.
    const TraceLibrary* listener = ReplaceTraceLibrary(nullptr);
    std::size_t length = 0;
    services.during = [&](auto files) { length = RequestAddress("1", 0, files).Length(); };
    const std::wstring path = L"C:\\" + std::wstring(147, L'x');
    const auto secondsFor = [&](const std::string& block, std::size_t count) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(SelectBlock(block), S_OK);
        EXPECT_EQ(Query(), kFilled);
        EXPECT_EQ(Invoke(0), S_OK);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        EXPECT_GT(length, count * path.size());
        services.sent.clear();
        return taken.count();
    };
    const std::string few = DropBlock(std::vector(500, path));
    const std::string many = DropBlock(std::vector(5000, path));
    // The shortest of several runs is what the work itself takes, whatever else the machine does;
    // no number of runs makes work fast that grows with the square.
    double shortest[] = {1e9, 1e9};
    for (int i = 0; i < 100 && (i < 10 || shortest[1] > 12 * shortest[0]); ++i) {
        shortest[0] = std::min(shortest[0], secondsFor(few, 500));
        shortest[1] = std::min(shortest[1], secondsFor(many, 5000));
    }
    EXPECT_LE(shortest[1], 12 * shortest[0]);
    ReplaceTraceLibrary(listener);
}

}  // namespace
}  // namespace tarnwell::test
