#include "context_menu_fixture.h"

namespace tarnwell::test {
namespace {

using Sent = CRecordingServices::Sent;
using Box = CRecordingServices::Box;

class ContextMenuInvokeTest : public ContextMenuTest {
protected:
    /// Selects the file in the mode that its name gives and forgets what was reported so far.
    void Choose(const std::wstring& file) {
        ASSERT_EQ(Select({file}), S_OK);
        ASSERT_EQ(Query(), kFilled);
        trace.Clear();
    }

    HRESULT InvokeUnicode(const char* verb, const wchar_t* wideVerb, DWORD mask) {
        CMINVOKECOMMANDINFOEX info = {};
        info.cbSize = sizeof info;
        info.fMask = mask;
        info.lpVerb = verb;
        info.lpVerbW = wideVerb;
        return handler->InvokeCommand(reinterpret_cast<CMINVOKECOMMANDINFO*>(&info));
    }
};

TEST_F(ContextMenuInvokeTest, EveryCommandReachesItsActionWithTheWholeList) {
    const std::wstring text = L"C:\\a, b.txt";
    const std::wstring isSigned = Path("signed.p7", SignedFile());
    const std::wstring isEnveloped = Path("enveloped.p7", EnvelopedFile());
    const std::wstring isBoth = Path("both.p7", SignedAndEnvelopedFile());
    const struct {
        const std::wstring& file;
        UINT offset;
        ActionCode action;
        const char* line;  // two of them name another command than the one chosen
    } kCases[] = {
        {text, 0, 0, "recover command clicked"},
        {text, 1, 1, "encrypt command clicked"},
        {text, 2, 2, "encrypt  and signe command clicked"},
        {isSigned, 0, 5, "open command clicked"},
        {isEnveloped, 0, 3, "open command clicked"},
        {isBoth, 0, 3, "open command clicked"},
        {isSigned, 2, 3, "sign command clicked"},
        {isEnveloped, 2, 3, "sign command clicked"},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(test.line);
        services.sent.clear();
        Choose(test.file);
        EXPECT_EQ(Invoke(test.offset), S_OK);
        const std::u16string path(test.file.begin(), test.file.end());
        EXPECT_EQ(services.sent, (std::vector<Sent>{{test.action, {path}}}));
        EXPECT_EQ(trace.Lines(),
                  (std::vector<std::string>{"enter CContextMenu::InvokeCommand", test.line,
                                            "leave CContextMenu::InvokeCommand"}));
        EXPECT_TRUE(services.boxes.empty());
    }
}

TEST_F(ContextMenuInvokeTest, RefusesOffsetsThatTheModeDoesNotHave) {
    for (const UINT offset : {3U, 4U, 5U, 0xFFFFU}) {
        Choose(L"C:\\a.txt");
        EXPECT_EQ(Invoke(offset), E_INVALIDARG) << offset;
    }
    for (const UINT offset : {1U, 3U, 5U, 0xFFFFU}) {
        Choose(Path("a.p7", SignedFile()));
        EXPECT_EQ(Invoke(offset), E_INVALIDARG) << offset;
    }
    EXPECT_TRUE(trace.Messages().empty());
    EXPECT_TRUE(services.sent.empty());
}

TEST_F(ContextMenuInvokeTest, RefusesVerbsGivenAsText) {
    const char* const kSecond = MAKEINTRESOURCEA(1);
    const wchar_t* const kWideSecond = MAKEINTRESOURCEW(1);
    Choose(L"C:\\a.txt");
    const struct {
        const char* verb;
        const wchar_t* wideVerb;
        DWORD mask;
        HRESULT result;
    } kCases[] = {
        {"encrypt", nullptr, 0, E_INVALIDARG},
        {"encrypt", L"encrypt", CMIC_MASK_UNICODE, E_INVALIDARG},
        {"encrypt", kWideSecond, CMIC_MASK_UNICODE, E_INVALIDARG},
        {nullptr, L"encrypt", CMIC_MASK_UNICODE, E_INVALIDARG},
        {kSecond, kWideSecond, CMIC_MASK_UNICODE, S_OK},
        {kSecond, nullptr, CMIC_MASK_UNICODE, S_OK},
        // Without the mask the wide member means nothing, whatever stands in it.
        {kSecond, L"sign", 0, S_OK},
    };
    for (const auto& test : kCases) {
        services.sent.clear();
        EXPECT_EQ(InvokeUnicode(test.verb, test.wideVerb, test.mask), test.result);
        if (test.result == S_OK)
            EXPECT_EQ(services.sent.at(0).action, kActionEncrypt);
        else
            EXPECT_TRUE(services.sent.empty());
    }
    EXPECT_EQ(handler->InvokeCommand(nullptr), E_INVALIDARG);
}

TEST_F(ContextMenuInvokeTest, DoesNotReadAWideVerbThatIsNotThere) {
    // The short structure at the very end of readable memory.
    SYSTEM_INFO system = {};
    GetSystemInfo(&system);
    auto* pages = static_cast<char*>(
        VirtualAlloc(nullptr, 2 * system.dwPageSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    DWORD old = 0;
    VirtualProtect(pages + system.dwPageSize, system.dwPageSize, PAGE_NOACCESS, &old);
    auto* info = reinterpret_cast<CMINVOKECOMMANDINFO*>(pages + system.dwPageSize) - 1;
    info->cbSize = sizeof *info;
    info->fMask = CMIC_MASK_UNICODE;
    Choose(L"C:\\a.txt");
    EXPECT_EQ(handler->InvokeCommand(info), S_OK);
    VirtualFree(pages, 0, MEM_RELEASE);
}

TEST_F(ContextMenuInvokeTest, AFailureIsShownInTheCataloguesWords) {
    const HWND owner = GetDesktopWindow();
    const struct {
        ResultCode result;
        std::vector<Box> boxes;
    } kCases[] = {
        {1, {{owner, u"Recover title", u"Recover text"}}},
        {2, {{owner, u"Open text", u"Open text"}}},  // one text for both, as the manager has it
        {3, {{owner, u"General title", u"General text"}}},
        {4, {}},
        {0xFFFFFFFF, {}},
    };
    Choose(L"C:\\a.txt");
    for (const auto& test : kCases) {
        services.boxes.clear();
        services.result = test.result;
        EXPECT_EQ(Invoke(0), E_FAIL);
        EXPECT_EQ(services.boxes, test.boxes) << test.result;
    }
}

TEST_F(ContextMenuInvokeTest, AFailureWithoutCatalogueIsStillAFailure) {
    Choose(L"C:\\a.txt");
    services.hasCatalogue = false;
    services.result = kResultFailed;
    EXPECT_EQ(Invoke(0), E_FAIL);
    EXPECT_TRUE(services.boxes.empty());
}

TEST_F(ContextMenuInvokeTest, OpeningAFileOfNoTypeFailsWithTheGeneralMessage) {
    Choose(Path("broken.p7"));
    EXPECT_EQ(Invoke(0), E_FAIL);
    EXPECT_EQ(trace.Messages(),
              (std::vector<std::string>{
                  "open command clicked", "Failed to create PKCS7 from encrypted file",
                  "Impossible to get file type: ERROR_OPENSSL,ERROR_RECOVER"}));
    EXPECT_TRUE(services.sent.empty());
    ASSERT_EQ(services.boxes.size(), 1U);
    EXPECT_EQ(services.boxes[0].title, u"General title");
}

TEST_F(ContextMenuInvokeTest, AFileThatCannotBeReadFailsWithoutAMessage) {
    Choose(Path("a.p7", SignedFile()));
    ASSERT_EQ(Select({L"C:\\nowhere\\a.p7"}), S_OK);
    EXPECT_EQ(Invoke(0), E_FAIL);
    EXPECT_TRUE(services.sent.empty());
    EXPECT_TRUE(services.boxes.empty());
}

TEST_F(ContextMenuInvokeTest, OpeningLeavesTheFileFreeForOthers) {
    const std::wstring file = Path("a.p7", SignedFile());
    Choose(file);
    Invoke(0);
    EXPECT_TRUE(DeleteFileW(file.c_str()));
}

TEST_F(ContextMenuInvokeTest, AMenuWithoutDefaultItemRunsTheOpeningCommands) {
    // The items of such a menu are the protecting ones, the object still knows a container.
    Select({Path("a.p7", SignedFile())});
    Query(CMF_NODEFAULT);
    EXPECT_EQ(Invoke(1), E_INVALIDARG);
    EXPECT_EQ(Invoke(2), S_OK);
    EXPECT_EQ(services.sent.at(0).action, kActionRecover);
}

TEST_F(ContextMenuInvokeTest, OpeningAfterALostSelectionDoesNothing) {
    Choose(Path("a.p7", SignedFile()));
    SelectBlock(std::nullopt);
    EXPECT_EQ(Invoke(0), E_FAIL);
    EXPECT_TRUE(services.sent.empty());
}

TEST_F(ContextMenuInvokeTest, ASelectionThatChangesInTheMiddleLeavesTheRequestItsList) {
    // The manager's start and every box run the message loop, through which the explorer calls in.
    class CReentering final : public CMenuServices {
    public:
        CContextMenu* menu = nullptr;
        std::vector<std::u16string> seen;
        bool LoadCatalogue(Lang&) override { return false; }
        ResultCode Send(ActionCode, std::span<const CUTF16String> files) override {
            menu->Initialize(nullptr, nullptr, nullptr);
            for (const CUTF16String& file : files)
                seen.emplace_back(file.AsView());
            return kResultDone;
        }
        void ShowMessage(HWND, const CUTF16String&, const CUTF16String&) override {}
    } reentering;
    handler.Attach(new CContextMenu(reentering));
    reentering.menu = handler.Get();
    Select({L"C:\\a.txt", L"C:\\b.txt"});
    EXPECT_EQ(Invoke(0), S_OK);
    EXPECT_EQ(reentering.seen, (std::vector<std::u16string>{u"C:\\a.txt", u"C:\\b.txt"}));
}

}  // namespace
}  // namespace tarnwell::test
