#include "tarnwell/win32/context_menu.h"

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

// Which lists are sound is tested with the walk through them; here is what becomes of the answer.
TEST_F(ContextMenuTest, RefusesASelectionWithoutFilesAndForgetsTheOneBefore) {
    const Strings withoutFiles = {"Locking medium...", "Unlocking medium because no files",
                                  "Releasing medium"};
    const std::pair<std::optional<std::string>, Strings> kCases[] = {
        {std::nullopt, {"Failed to Get data"}},
        {DropBlock({}), withoutFiles},
        {DropBlock(true, "C:\\a without an end"), withoutFiles},
    };
    for (const auto& [block, messages] : kCases) {
        EXPECT_EQ(Select({text}), S_OK);
        trace.Clear();
        services.sent.clear();
        EXPECT_EQ(SelectBlock(block), E_INVALIDARG);
        EXPECT_EQ(trace.Messages(), messages);
        Invoke(0);
        EXPECT_EQ(services.sent, (Sent{{kActionSign, {}}})) << messages.back();
    }
    EXPECT_EQ(handler->Initialize(nullptr, nullptr, nullptr), E_INVALIDARG);
}

TEST_F(ContextMenuTest, SelectionFlagsAndIdsDecideTheRows) {
    const std::string protect = "-\n7 Signer 205\n8 Chiffrer 206\n9 Signer et chiffrer 207\n-\n";
    const std::string open = "-\n9 Vérifier et ouvrir\n7 Ouvrir!\n-\n";
    const std::string recover = "-\n9 Déchiffrer et ouvrir\n7 Ouvrir!\n-\n";
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
        {{isBroken}, CMF_NORMAL, 99, kFilled, "-\n7 Ouvrir!\n-\n"},
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

TEST_F(ContextMenuTest, InsertsBetweenTheItemsOfOthers) {
    menu.Reset(CreatePopupMenu());
    AppendMenuW(menu.Get(), MF_STRING, 1, L"above");
    AppendMenuW(menu.Get(), MF_STRING, 2, L"below");
    Select({isSigned});
    EXPECT_EQ(handler->QueryContextMenu(menu.Get(), 1, 7, 99, CMF_NORMAL), kFilled);
    EXPECT_EQ(Drawn(), "1 above\n-\n9 Vérifier et ouvrir\n7 Ouvrir!\n-\n2 below\n");
    EXPECT_EQ(handler->QueryContextMenu(nullptr, 0, 7, 99, CMF_NORMAL), E_FAIL);
}

TEST_F(ContextMenuTest, TellsVerbsInBothCharacterSizesAndCutsThem) {
    constexpr auto kTooSmall = static_cast<HRESULT>(0x8007007A);
    const struct {
        UINT_PTR offset;
        UINT size;
        HRESULT result;
        std::string verb;
    } kCases[] = {
        {0, 0x7FFFFFFF, S_OK, "sign"},
        {1, 40, S_OK, "encrypt"},
        {2, 40, S_OK, "sign+encrypt"},
        {1ULL << 32, 40, E_INVALIDARG, "######"},
        {0, 0x80000000, E_INVALIDARG, "######"},
        {0, 0, E_INVALIDARG, "######"},
        {0, 1, kTooSmall, ""},
        {0, 4, kTooSmall, "sig"},
        {0, 5, S_OK, "sign"},
    };
    const auto ask = [&](UINT_PTR offset, UINT type, void* buffer, UINT size) {
        return handler->GetCommandString(offset, type, nullptr, static_cast<char*>(buffer), size);
    };
    char narrow[40];
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
    for (const UINT_PTR offset : {UINT_PTR{0}, UINT_PTR{1}, UINT_PTR{1} << 32}) {
        std::strcpy(narrow, "######");
        EXPECT_EQ(ask(offset, GCS_VERBA, narrow, 40), S_OK);
        EXPECT_STREQ(narrow, "recover") << "a container has one verb everywhere";
    }
    for (const UINT type : {UINT{GCS_HELPTEXTA}, UINT{GCS_HELPTEXTW}, UINT{GCS_VALIDATEW}, 99U})
        EXPECT_EQ(ask(0, type, narrow, 40), E_INVALIDARG) << type;
    EXPECT_EQ(ask(0, GCS_VERBA, nullptr, 40), E_INVALIDARG);
}

TEST_F(ContextMenuTest, EveryCommandReachesItsActionAndNoOtherOffsetDoes) {
    const struct {
        const std::wstring& file;
        UINT flags, offset;
        ActionCode action;
        const char* line;  // two of them name another command
    } kCases[] = {
        {text, 0, 0, kActionSign, "recover command clicked"},
        {text, 0, 1, kActionEncrypt, "encrypt command clicked"},
        {text, 0, 2, kActionSignEncrypt, "encrypt  and signe command clicked"},
        {isEncrypted, 0, 0, kActionRecover, "open command clicked"},
        {isBoth, 0, 0, kActionRecover, "open command clicked"},
        {isSigned, 0, 0, kActionOpen, "open command clicked"},
        {isSigned, 0, 2, kActionRecover, "sign command clicked"},
        // The items of such a menu are the protecting ones, the object still knows a container.
        {isSigned, CMF_NODEFAULT, 2, kActionRecover, "sign command clicked"},
    };
    EXPECT_EQ(Invoke(0xFFFF), E_INVALIDARG);
    for (const auto& test : kCases) {
        Select({test.file});
        trace.Clear();
        services.sent.clear();
        Query(test.flags);
        EXPECT_EQ(Invoke(test.offset), S_OK);
        EXPECT_EQ(services.sent, (Sent{{test.action, {Utf16(test.file)}}})) << test.line;
        const bool isOpening = test.file != text && !test.flags;
        EXPECT_EQ(trace.Messages(),
                  (Strings{isOpening ? "adding recover menu" : "adding sign and encrypte menu",
                           test.line}));
    }
    EXPECT_EQ(Invoke(1), E_INVALIDARG);
}

TEST_F(ContextMenuTest, AFileThatCannotBeReadIsNotSentAndNotHeldOpen) {
    Select({isBroken});
    trace.Clear();
    Query();
    EXPECT_EQ(Invoke(0), E_FAIL);
    const std::string parse = "Failed to create PKCS7 from encrypted file";
    const std::string type = "Impossible to get file type: ERROR_OPENSSL,ERROR_RECOVER";
    EXPECT_EQ(trace.Messages(),
              (Strings{"adding recover menu", parse, type, "open command clicked", parse, type}));
    const Paths general = Box("general_error_title", "general_error_message");
    EXPECT_EQ(services.boxes, general);
    EXPECT_TRUE(DeleteFileW(isBroken.c_str()));
    EXPECT_EQ(Invoke(0), E_FAIL);  // what cannot be read at all has no message
    SelectBlock(std::nullopt);
    EXPECT_EQ(Invoke(0), E_FAIL);  // nor has what is not there
    EXPECT_EQ(services.boxes, general);
    EXPECT_TRUE(services.sent.empty());
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
    const std::pair<ResultCode, Paths> kCases[] = {
        {1, Box("recover_error_title", "recover_error_message")},
        // One text for both, as the manager has it.
        {2, Box("open_file_error_message", "open_file_error_message")},
        {3, Box("general_error_title", "general_error_message")},
        {4, {}},
    };
    Select({text});
    for (const auto& [result, box] : kCases) {
        services.boxes.clear();
        services.result = result;
        EXPECT_EQ(Invoke(0), E_FAIL);
        EXPECT_EQ(services.boxes, box) << result;
    }
    EXPECT_EQ(services.owner, GetDesktopWindow());
    services.result = kResultFailed;
    services.hasCatalogue = false;
    EXPECT_EQ(Invoke(0), E_FAIL);
    EXPECT_TRUE(services.boxes.empty());
}

TEST_F(ContextMenuTest, ASelectionThatChangesInTheMiddleLeavesTheRequestItsList) {
    // The manager's start and every box run the message loop, through which the explorer calls in.
    services.during = [&](auto) { handler->Initialize(nullptr, nullptr, nullptr); };
    Select({L"C:\\a", L"C:\\b"});
    EXPECT_EQ(Invoke(0), S_OK);
    EXPECT_EQ(services.sent, (Sent{{kActionSign, {u"C:\\a", u"C:\\b"}}}));
}

// Anything that grows with the square of their number takes a minute here, instead of a moment.
TEST_F(ContextMenuTest, TwentyThousandFilesTakeTimeInProportion) {
    if (UnderHeapChecks())
        GTEST_SKIP() << "each heap call validates the whole heap: nothing is in proportion";
    std::size_t length = 0;
    services.during = [&](auto files) { length = RequestAddress("1", 0, files).Length(); };
    const auto start = std::chrono::steady_clock::now();
    Select(std::vector(20'000, std::wstring(150, L'x')));
    Query();
    Invoke(0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_GT(length, 20'000u * 150);
}

}  // namespace
}  // namespace tarnwell::test
