#include "tarnwell/win32/extract_icon.h"

#include "icon_fixture.h"
#include "support/process_growth.h"
#include "tarnwell/win32/alpha_icon.h"

#include <thread>

namespace tarnwell::test {
namespace {

constexpr UINT kSizes = MAKELONG(48, 16);
const HICON kUntouched = reinterpret_cast<HICON>(1);

using Overlays = std::vector<std::uint16_t>;

/// An icon, that of *.txt files here unless it says otherwise, with overlays over it.
Picture Marked(int size, const Overlays& overlays, HINSTANCE module = nullptr, WORD icon = 205) {
    CUniqueIcon marked = IconOf(module, icon, size);
    for (const std::uint16_t overlay : overlays)
        marked = CAlphaIcon(marked.Get())
                     .ApplyOverlay(*CAlphaIcon::GetOverlay(overlay, static_cast<UINT>(size)));
    return PictureOf(marked.Get());
}

class ExtractIconTest : public testing::Test {
protected:
    ExtractIconTest() {
        CSettingsKey::Create(classes.Root(), u".txt").SetText(u"", u"Type");
        CSettingsKey::Create(classes.Root(), u"Type\\DefaultIcon").SetText(u"", ModulePath());
    }
    /// Open takes a file with the bytes of one of the corpus and gives GetIconLocation's answer.
    HRESULT Open(const std::string& original, const char* name = "a.txt.p7") {
        path = folder.Write(name, SampleBytes(original));
        handler->Load(path.c_str(), 0);
        return handler->GetIconLocation(0, nullptr, 0, nullptr, nullptr);
    }
    HRESULT Extract(UINT sizes = kSizes) {
        return handler->Extract(nullptr, 0, large.Put(), little.Put(), sizes);
    }

    CTempFolder folder;
    CScratchClasses classes;
    CScriptedEngine engine;
    ComPtr<CExtractIcon> handler = MakeObject<CExtractIcon>(classes.Root(), engine);
    std::filesystem::path path;
    CUniqueIcon large, little;
};

TEST_F(ExtractIconTest, MarksTheEnclosedTypesIconByContentAndVerdict) {
    const struct {
        const char* file;
        std::uint32_t chain;
        Overlays overlays;
        std::size_t asked;
    } kCases[] = {
        {"ossl-rsa-sha256.p7", 0, {210, 208}, 1}, {"ossl-rsa-sha256.p7", 4, {210, 209}, 1},
        {"hand-no-signers.p7", 0, {210, 208}, 0}, {"ossl-env-aes256-1.p7m", 0, {211}, 0},
        {"capi-sae-1x1.p7m", 0, {212}, 0},        {"capi-data.p7", 0, {218}, 0},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(test.file);
        EXPECT_EQ(Open(test.file), S_OK);
        const bool isSigned = test.overlays.front() == 210;
        wchar_t location[] = L"as before";
        int index = 42;
        UINT outFlags = 0;
        EXPECT_EQ(
            handler->GetIconLocation(GIL_ASYNC | GIL_FORSHELL, location, 10, &index, &outFlags),
            isSigned ? E_PENDING : S_OK);
        EXPECT_EQ(outFlags, 0x18u);
        EXPECT_STREQ(location, L"as before");
        EXPECT_EQ(index, 42);

        engine = CScriptedEngine({test.chain});
        if (!isSigned)  // what Extract needs to know of such a file is known already
            std::filesystem::remove(path);
        EXPECT_EQ(Extract(), S_OK);
        EXPECT_EQ(PictureOf(large.Get()), Marked(48, test.overlays));
        EXPECT_EQ(PictureOf(little.Get()), Marked(16, test.overlays));
        EXPECT_EQ(engine.asked, test.asked) << "once for both sizes";
    }
}

TEST_F(ExtractIconTest, DrawsWhatIsAskedForAndSurvivesAnySize) {
    EXPECT_EQ(Open("ossl-env-aes256-1.p7m", "report.p7"), S_OK);
    const CUniqueModule shell(LoadLibraryW(L"shell32.dll"));  // has the icon of unknown types
    const CTraceListener trace;
    EXPECT_EQ(handler->Extract(nullptr, 0, nullptr, little.Put(), kSizes), S_OK);
    EXPECT_EQ(trace.Count("Creating new icon"), 1u);
    EXPECT_EQ(PictureOf(little.Get()), Marked(16, {211}, shell.Get(), 1));
    EXPECT_EQ(handler->Extract(nullptr, 0, large.Put(), nullptr, kSizes), S_OK);
    EXPECT_EQ(PictureOf(large.Get()), Marked(48, {211}, shell.Get(), 1));
    EXPECT_EQ(Open("ossl-env-aes256-1.p7m"), S_OK);
    for (const std::size_t size : {0u, 1u, 17u, 65535u}) {
        EXPECT_EQ(Extract(MAKELONG(size, size)), S_OK);
        const std::size_t drawn = PictureOf(large.Get()).size();
        EXPECT_EQ(drawn, PictureOf(little.Get()).size());
        EXPECT_TRUE(size == 0 || drawn == std::min<std::size_t>(size * size, 2048 * 2048)) << size;
    }
}

TEST_F(ExtractIconTest, AFileThatCannotBeReadHasNoIcon) {
    for (const char* file : {"nonp7-text.p7", ""}) {
        EXPECT_EQ(Open("ossl-env-aes256-1.p7m"), S_OK);  // whose type must be forgotten
        if (*file)
            static_cast<void>(Open(file));
        else
            std::filesystem::remove(path);
        const CTraceListener trace;
        UINT outFlags = 42;
        EXPECT_EQ(handler->GetIconLocation(GIL_ASYNC, nullptr, 0, nullptr, &outFlags), E_FAIL);
        EXPECT_EQ(outFlags, 42u);
        EXPECT_EQ(trace.Messages().back(),
                  "Cannot Generate icon because we cannot get the file type");
        HICON first = kUntouched, second = kUntouched;
        EXPECT_EQ(handler->Extract(nullptr, 0, &first, &second, kSizes), E_FAIL);
        EXPECT_TRUE(first == kUntouched && second == kUntouched);
        EXPECT_EQ(trace.Lines().front(), "enter CExtractIcon::GetIconLocation");
        EXPECT_EQ(trace.Lines().back(), "leave CExtractIcon::Extract");
    }
}

TEST_F(ExtractIconTest, AFileThatVanishesTakesTheDrawnIconsWithIt) {
    EXPECT_EQ(Open("ossl-rsa-sha256.p7"), S_OK);
    std::filesystem::remove(path);  // the icons are drawn already when the verdict fails
    HICON first = kUntouched, second = kUntouched;
    EXPECT_EQ(handler->Extract(nullptr, 0, &first, &second, kSizes), E_FAIL);
    EXPECT_TRUE(!first && !second);
    ExpectNoGrowth(3, 20, [&] { Extract(); });
}

TEST_F(ExtractIconTest, AThreadThatAskedLeavesNothingWhenItEnds) {
    const std::wstring files[] = {Sample("ossl-rsa-sha256.p7"), Sample("nonp7-text.p7")};
    ExpectNoGrowth(3, 50, [&] {
        std::thread([&] {  // the explorer's come and go
            const auto asked = MakeObject<CExtractIcon>(classes.Root(), engine);
            for (const std::wstring& file : files) {
                asked->Load(file.c_str(), 0);
                asked->GetIconLocation(0, nullptr, 0, nullptr, nullptr);
                asked->Extract(nullptr, 0, large.Put(), little.Put(), kSizes);
            }
        })
            .join();
    });
}

}  // namespace
}  // namespace tarnwell::test
