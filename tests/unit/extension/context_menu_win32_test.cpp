#include "tarnwell/win32/context_menu.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>

#include "context_menu_fixture.h"
#include "support/heap_checks.h"

namespace tarnwell::test {
namespace {

using std::string_literals::operator""s;

const std::string kProtectItems =
    "-\n"
    "100 Sign ?*\n"
    "101 Encrypt*\n"
    "102 Sign and encrypt*\n"
    "-\n";

// --- the selection
// --------------------------------------------------------------------------------

TEST_F(ContextMenuTest, TakesTheSelectionInItsOrder) {
    CFakeDataObject data(DropBlock({L"C:\\b, \u00e9.txt", L"C:\\a b.p7"}));
    EXPECT_EQ(handler->Initialize(nullptr, &data, nullptr), S_OK);
    EXPECT_TRUE(data.IsReturned());
    EXPECT_EQ(data.asked.cfFormat, CF_HDROP);
    EXPECT_EQ(data.asked.dwAspect, DWORD{DVASPECT_CONTENT});
    EXPECT_EQ(data.asked.lindex, -1);
    EXPECT_EQ(data.asked.tymed, DWORD{TYMED_HGLOBAL});

    EXPECT_EQ(Invoke(0), S_OK);
    ASSERT_EQ(services.sent.size(), 1U);
    EXPECT_EQ(services.sent[0].files,
              (std::vector<std::u16string>{u"C:\\b, \u00e9.txt", u"C:\\a b.p7"}));
}

TEST_F(ContextMenuTest, ReportsTheSelectionNameByName) {
    Select({L"C:\\\u00e9.txt", L"C:\\100%s.txt"});
    EXPECT_EQ(trace.Lines(), (std::vector<std::string>{
                                 "enter CContextMenu::Initialize",
                                 "Locking medium...",
                                 "The files is wide, name is: C:\\\xc3\xa9.txt",
                                 "The files is wide, name is: C:\\100%s.txt",
                                 "Unlocking medium",
                                 "Releasing medium",
                                 "leave CContextMenu::Initialize",
                             }));
}

TEST_F(ContextMenuTest, WidensAnEightBitSelection) {
    EXPECT_EQ(SelectBlock(NarrowDropBlock({"C:\\\xe9.txt"})), S_OK);
    EXPECT_EQ(trace.Messages()[1], "The files is not wide, name is: C:\\\xe9.txt");
    Invoke(1);
    EXPECT_EQ(services.sent.at(0).files, std::vector<std::u16string>{u"C:\\\u00e9.txt"});
}

TEST_F(ContextMenuTest, RefusesASelectionWithoutFilesAndReportsWhereItStopped) {
    const std::vector<std::string> withoutData = {"Failed to Get data"};
    const std::vector<std::string> withoutFiles = {
        "Locking medium...", "Unlocking medium because no files", "Releasing medium"};
    const std::string whole = DropBlock({L"C:\\a.txt"});
    std::string pointsOutside = whole;
    pointsOutside[2] = 1;  // names 64 KiB behind the header

    const struct {
        const char* what;
        std::optional<std::string> block;
        const std::vector<std::string>& messages;
    } kCases[] = {
        {"no data", std::nullopt, withoutData},
        {"an empty list", DropBlock({}), withoutFiles},
        {"an empty 8-bit list", NarrowDropBlock({}), withoutFiles},
        {"shorter than its header", std::string(8, '\0'), withoutFiles},
        {"names outside the block", pointsOutside, withoutFiles},
        {"no empty name at the end", whole.substr(0, whole.size() - 2), withoutFiles},
        {"a name cut in the middle", whole.substr(0, whole.size() - 7), withoutFiles},
        {"half a unit at the end", whole.substr(0, whole.size() - 1), withoutFiles},
    };
    for (const auto& test : kCases) {
        EXPECT_EQ(Select({L"C:\\before.txt"}), S_OK);
        trace.Clear();
        services.sent.clear();
        EXPECT_EQ(SelectBlock(test.block), E_INVALIDARG) << test.what;
        EXPECT_EQ(trace.Messages(), test.messages) << test.what;
        Invoke(0);
        EXPECT_TRUE(services.sent.at(0).files.empty()) << test.what << " keeps the old list";
    }
}

TEST_F(ContextMenuTest, RefusesAMissingDataObject) {
    EXPECT_EQ(handler->Initialize(nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(trace.Messages(), std::vector<std::string>{"Failed to Get data"});
}

TEST_F(ContextMenuTest, ALaterSelectionReplacesTheFirstFiles) {
    Select({L"C:\\a", L"C:\\b"});
    Query();
    Select({L"C:\\a", L"C:\\b", L"C:\\c"});
    Invoke(2);
    EXPECT_EQ(services.sent.at(0).files.size(), 3U);
}

// --- the menu
// -------------------------------------------------------------------------------------

TEST_F(ContextMenuTest, OtherSelectionsThanOneContainerGetTheProtectingCommands) {
    for (const std::vector<std::wstring>& files :
         std::vector<std::vector<std::wstring>>{{L"C:\\a.txt"},
                                                {L"C:\\a.p7m"},
                                                {L"C:\\a.p7\\b"},
                                                {L"C:\\a.p7", L"C:\\b.p7"},
                                                {L"C:\\a b.txt", L"C:\\\u00e9.p7", L"C:\\c, d"}}) {
        menu.Reset(CreatePopupMenu());
        Select(files);
        EXPECT_EQ(Query(), kFilled);
        EXPECT_EQ(Drawn(), kProtectItems);
    }
}

TEST_F(ContextMenuTest, OneContainerGetsTheOpeningCommands) {
    const struct {
        const char* name;
        std::string bytes;
        const char* recover;
    } kCases[] = {
        {"signed.p7", SignedFile(), "102 Recover and verify\n"},
        {"enveloped.P7", EnvelopedFile(), "102 Recover\n"},
        {"both, \xc3\xa9.p7", SignedAndEnvelopedFile(), "102 Recover and verify\n"},
        {"broken.p7", "no container", ""},
    };
    for (const auto& test : kCases) {
        menu.Reset(CreatePopupMenu());
        Select({Path(test.name, test.bytes)});
        EXPECT_EQ(Query(), kFilled);
        EXPECT_EQ(Drawn(), "-\n"s + test.recover + "100 Open!\n-\n") << test.name;
    }
}

TEST_F(ContextMenuTest, ReportsWhatItAdds) {
    Select({L"C:\\a.txt"});
    trace.Clear();
    Query();
    EXPECT_EQ(trace.Messages(), std::vector<std::string>{"adding sign and encrypte menu"});
    EXPECT_EQ(trace.Lines().front(), "enter CContextMenu::QueryContextMenu");
    EXPECT_EQ(trace.Lines().back(), "leave CContextMenu::QueryContextMenu");

    Select({Path("broken.p7")});
    trace.Clear();
    Query();
    EXPECT_EQ(trace.Messages(),
              (std::vector<std::string>{
                  "adding recover menu", "Failed to create PKCS7 from encrypted file",
                  "Impossible to get file type: ERROR_OPENSSL,ERROR_RECOVER"}));
}

TEST_F(ContextMenuTest, FlagsAndIdsDecideWhetherItemsAreInserted) {
    const std::wstring text = L"C:\\a.txt";
    const std::wstring container = Path("a.p7", SignedFile());
    constexpr UINT kMax = std::numeric_limits<UINT>::max();
    const struct {
        const std::wstring& file;
        UINT flags;
        UINT first;
        UINT last;
        HRESULT result;
        int items;
    } kCases[] = {
        {text, CMF_NORMAL, 7, 10, kFilled, 5},
        {text, CMF_NORMAL, 7, 9, S_OK, 0},  // the three ids would do, one more is asked for
        {text, CMF_NORMAL, kMax - 1, kMax, S_OK, 0},
        {text, CMF_DEFAULTONLY, 7, 99, E_FAIL, 0},
        {text, CMF_DEFAULTONLY, 7, 8, E_FAIL, 0},
        {container, CMF_NORMAL, 7, 9, kFilled, 4},
        {container, CMF_NORMAL, 7, 8, S_OK, 0},
        {container, CMF_DEFAULTONLY, 7, 99, kFilled, 4},
        {container, CMF_NODEFAULT, 7, 99, kFilled, 5},
        {container, CMF_NODEFAULT, 7, 9, S_OK, 0},
        {container, CMF_NODEFAULT | CMF_DEFAULTONLY, 7, 99, E_FAIL, 0},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(std::to_string(test.flags) + " " + std::to_string(test.last));
        menu.Reset(CreatePopupMenu());
        Select({test.file});
        EXPECT_EQ(Query(test.flags, 0, test.first, test.last), test.result);
        EXPECT_EQ(GetMenuItemCount(menu.Get()), test.items);
    }
}

TEST_F(ContextMenuTest, InsertsBetweenTheItemsOfOthers) {
    AppendMenuW(menu.Get(), MF_STRING, 1, L"above");
    AppendMenuW(menu.Get(), MF_STRING, 2, L"below");
    Select({L"C:\\a.txt"});
    Query(CMF_NORMAL, 1);
    EXPECT_EQ(Drawn(), "1 above\n" + kProtectItems + "2 below\n");
}

TEST_F(ContextMenuTest, AnsweringAgainFollowsTheSelectionOfTheMoment) {
    Select({Path("a.p7", SignedFile())});
    EXPECT_EQ(Query(), kFilled);
    menu.Reset(CreatePopupMenu());
    Select({L"C:\\a.txt"});
    EXPECT_EQ(Query(), kFilled);
    EXPECT_EQ(Drawn(), kProtectItems);
    menu.Reset(CreatePopupMenu());
    EXPECT_EQ(Query(), kFilled);
    EXPECT_EQ(Drawn(), kProtectItems);
}

TEST_F(ContextMenuTest, SeveralFilesKeepTheModeOfTheMenuBefore) {
    const std::wstring container = Path("a.p7", EnvelopedFile());
    Select({container});
    Query();
    menu.Reset(CreatePopupMenu());
    Select({container, L"C:\\b.txt"});
    EXPECT_EQ(Query(), kFilled);
    EXPECT_EQ(Drawn(), "-\n102 Recover\n100 Open!\n-\n");
}

TEST_F(ContextMenuTest, WithoutACatalogueThereIsNoMenu) {
    services.hasCatalogue = false;
    Select({L"C:\\a.txt"});
    EXPECT_EQ(Query(), E_FAIL);
    EXPECT_EQ(GetMenuItemCount(menu.Get()), 0);
}

TEST_F(ContextMenuTest, AContainerThatIsGoneOrNoMenuGivesAFailure) {
    Select({L"C:\\nowhere\\gone.p7"});
    EXPECT_EQ(Query(), E_FAIL);
    Select({L"C:\\a.txt"});
    EXPECT_EQ(handler->QueryContextMenu(nullptr, 0, 1, 99, CMF_NORMAL), E_FAIL);
}

// --- the verbs
// ------------------------------------------------------------------------------------

TEST_F(ContextMenuTest, TellsVerbsInBothCharacterSizes) {
    const struct {
        UINT_PTR offset;
        const wchar_t* protect;  // null: no such offset
    } kCases[] = {{0, L"sign"}, {1, L"encrypt"},  {2, L"sign+encrypt"},
                  {3, nullptr}, {65536, nullptr}, {1ULL << 32, nullptr}};
    for (const bool isOpen : {false, true}) {
        if (isOpen) {
            Select({Path("a.p7", SignedFile())});
            Query();
        }
        for (const auto& test : kCases) {
            const wchar_t* verb = isOpen ? L"recover" : test.protect;
            char narrow[40] = {};
            wchar_t wide[40] = {};
            const HRESULT expected = verb ? S_OK : E_INVALIDARG;
            EXPECT_EQ(handler->GetCommandString(test.offset, GCS_VERBA, nullptr, narrow, 40),
                      expected);
            EXPECT_EQ(handler->GetCommandString(test.offset, GCS_VERBW, nullptr,
                                                reinterpret_cast<char*>(wide), 40),
                      expected);
            EXPECT_STREQ(wide, verb ? verb : L"") << test.offset;
            EXPECT_EQ(std::wstring(wide), std::wstring(narrow, narrow + std::strlen(narrow)));
        }
    }
}

TEST_F(ContextMenuTest, CutsAVerbThatDoesNotFit) {
    const auto tooSmall = static_cast<HRESULT>(0x8007007A);
    const struct {
        UINT size;
        HRESULT result;
        const wchar_t* text;
    } kCases[] = {
        {0, E_INVALIDARG, L"######"},
        {1, tooSmall, L""},
        {4, tooSmall, L"sig"},
        {5, S_OK, L"sign"},
        {0x80000000, E_INVALIDARG, L"######"},
        {0x7FFFFFFF, S_OK, L"sign"},
        {0xFFFFFFFF, E_INVALIDARG, L"######"},
    };
    for (const auto& test : kCases) {
        wchar_t wide[] = L"######";
        EXPECT_EQ(handler->GetCommandString(0, GCS_VERBW, nullptr, reinterpret_cast<char*>(wide),
                                            test.size),
                  test.result);
        EXPECT_STREQ(wide, test.text) << test.size;
        char narrow[] = "######";
        EXPECT_EQ(handler->GetCommandString(0, GCS_VERBA, nullptr, narrow, test.size), test.result);
        EXPECT_EQ(std::wstring(test.text), std::wstring(narrow, narrow + std::strlen(narrow)));
    }
    EXPECT_EQ(handler->GetCommandString(0, GCS_VERBA, nullptr, nullptr, 10), E_INVALIDARG);
}

TEST_F(ContextMenuTest, TellsNothingButVerbs) {
    for (const UINT type : std::initializer_list<UINT>{GCS_HELPTEXTA, GCS_HELPTEXTW, GCS_VALIDATEA,
                                                       GCS_VALIDATEW, GCS_UNICODE | 0x10, 99}) {
        char buffer[40] = "untouched";
        EXPECT_EQ(handler->GetCommandString(0, type, nullptr, buffer, 40), E_INVALIDARG) << type;
        EXPECT_STREQ(buffer, "untouched");
    }
}

// --- many files
// -----------------------------------------------------------------------------------

/// The shortest of several runs: what the work itself takes, whatever else the machine does.
template <class Work>
double SecondsFor(Work&& work) {
    double shortest = std::numeric_limits<double>::max();
    for (int i = 0; i < 7; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        shortest = std::min(shortest, taken.count());
    }
    return shortest;
}

TEST_F(ContextMenuTest, ThousandsOfFilesTakeTimeInProportion) {
    if (UnderHeapChecks())
        GTEST_SKIP() << "each heap call validates the whole heap: nothing is in proportion";
    // The listener keeps every line, so its own memory would be measured as well.
    const TraceLibrary* listener = ReplaceTraceLibrary(nullptr);
    const auto round = [&](const std::string& block, std::size_t count) {
        ASSERT_EQ(SelectBlock(block), S_OK);
        const CUniqueMenu own(CreatePopupMenu());
        ASSERT_EQ(handler->QueryContextMenu(own.Get(), 0, 1, 99, CMF_NORMAL), kFilled);
        ASSERT_EQ(Invoke(0), S_OK);
        ASSERT_EQ(services.sent.back().files.size(), count);
        services.sent.clear();
    };
    const auto secondsFor = [&](std::size_t count) {
        std::vector<std::wstring> files;
        for (std::size_t i = 0; i < count; ++i)
            files.push_back(L"C:\\" + std::wstring(140, L'x') + std::to_wstring(1000000 + i));
        const std::string block = DropBlock(files);
        return SecondsFor([&] { round(block, count); });
    };
    // Ten times the files: in proportion it is a little more than 10, with the square 100. The
    // limit lies between and has several tries, because other programs disturb long runs more than
    // short ones; none of them makes a slow one fast.
    double ratio = 0;
    for (int i = 0; i < 5 && (i == 0 || ratio > 30); ++i)
        ratio = secondsFor(5000) / secondsFor(500);
    RecordProperty("hundredfold_ratio", static_cast<int>(100 * ratio));
    EXPECT_LE(ratio, 30);
    ReplaceTraceLibrary(listener);
}

}  // namespace
}  // namespace tarnwell::test
