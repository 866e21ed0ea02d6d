#include "tarnwell/win32/shell_hover.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "common/crypto/time_text.h"
#include "common/system/os/owners_win32.h"
#include "common/system/text/convert.h"
#include "support/heap_checks.h"
#include "support/test_paths.h"
#include "support/trace_listener.h"

namespace tarnwell::test {
namespace {

constexpr std::int64_t kOpenSslTime = 1795227600;  // 2026-11-21T02:20:00Z
constexpr std::int64_t kHandTime = 1704164645;     // 2024-01-02T03:04:05Z

/// The archive of the development manager, which the build puts beside the test programs.
class CArchive final : public CCatalogueSource {
public:
    bool LoadCatalogue(Lang& lang) override {
        lang.UseLanguages(language);
        return isThere && lang.Load(u"resources\\kestrix.bin");
    }
    std::u16string language = u"en";
    bool isThere = true;
};

class ShellHoverTest : public testing::Test {
protected:
    /// Ask gives the tip for a file of the corpus, nothing after a failure.
    std::optional<std::string> Ask(const std::string& file) {
        handler->Load(Wide(Utf16FromUtf8(TestDataPath("corpus/" + file))), 0);
        trace.Clear();
        CUniqueTaskMemory<WCHAR> tip;
        const HRESULT result = handler->GetInfoTip(QITIPF_DEFAULT, tip.Put());
        EXPECT_EQ(result, tip ? S_OK : E_FAIL);
        return tip ? std::optional<std::string>(Utf8FromUtf16(Units(tip.Get())).CStr())
                   : std::nullopt;
    }

    static std::string When(std::int64_t seconds) { return LocalTimeText(seconds).CStr(); }
    static std::string Signed(const std::string& by, const std::string& time) {
        return "Signed by: " + by + "\nSigned on: " + time;
    }

    CArchive catalogue;
    Microsoft::WRL::ComPtr<CShellHover> handler = MakeObject<CShellHover>(catalogue);
    CTraceListener trace;
};

TEST_F(ShellHoverTest, NamesEachSignerHisIssuerAndHisTime) {
    const std::string at = When(kOpenSslTime), root = "(Orchard Test Root)";
    ASSERT_NE(at, "");
    const struct {
        const char* file;
        std::string tip;
    } kCases[] = {
        {"ossl-rsa-sha256.p7", Signed("Alma Reed" + root, at)},
        {"ossl-name-utf8.p7", Signed("Žofie Ångström-日本語 Ωμέγα" + root, at)},
        {"ossl-name-bmp.p7", Signed("Ирина Śliwa 櫻" + root, at)},
        {"ossl-name-t61.p7", Signed("Renée Müller" + root, at)},
        {"ossl-name-twocn.p7", Signed("Second Name Given" + root, at)},
        {"ossl-name-empty.p7", Signed(root, at)},
        {"bc-noattr.p7", Signed("Bruno Kask(Orchard Issuing CA)", "")},
        {"hand-time-gen2050.p7", Signed("Alma Reed" + root, "")},
        {"hand-bad-content.p7", Signed("Alma Reed" + root, When(kHandTime))},
        {"capi-sae-1x1.p7m", Signed("Alma Reed" + root, When(kOpenSslTime + 24))},
        {"ossl-two-signers.p7", "signer :0\n" + Signed("Dov Hale" + root, at) + "signer :1\n" +
                                    Signed("Alma Reed" + root, at)},
        {"hand-no-signers.p7", ""},
        {"hand-signed-nobody.p7", ""},
    };
    for (const auto& test : kCases)
        EXPECT_EQ(Ask(test.file), test.tip) << test.file;

    if (UnderHeapChecks())
        return;  // the certificates of fifty signers are too many blocks for that
    const std::string tip = Ask("hand-signers-50.p7").value_or("");
    std::size_t found = 0;
    for (int i = 0; i < 50 && found != tip.npos; ++i)
        found = tip.find("signer :" + std::to_string(i) + "\nSigned by: Crowd signer ", found);
    EXPECT_NE(found, tip.npos) << tip;
}

TEST_F(ShellHoverTest, SpeaksTheFourLanguagesOfTheManager) {
    const std::string name = ": Alma Reed(Orchard Test Root)\n", at = ": " + When(kOpenSslTime);
    const std::pair<const char16_t*, std::string> kCases[] = {
        {u"en", "Signed by" + name + "Signed on" + at},
        {u"fr", "Signé par" + name + "Signé le" + at},
        {u"es", "Firmado por" + name + "Firmado el" + at},
        {u"pl", "Podpisane przez" + name + "Data podpisania" + at}};
    for (const auto& [language, tip] : kCases) {
        catalogue.language = language;
        EXPECT_EQ(Ask("ossl-rsa-sha256.p7"), tip);
    }
}

TEST_F(ShellHoverTest, GivesNoTipForWhatIsNotSignedOrCannotBeReadWhole) {
    const struct {
        const char* file;
        std::size_t reported;
    } kCases[] = {
        {"ossl-env-aes256-1.p7m", 0},  {"capi-data.p7", 0},    {"nonp7-text.p7", 1},
        {"there is none.p7", 1},       {"ossl-nocerts.p7", 1},  // without the set of certificates
        {"hand-cert-empty-set.p7", 1},  // with one, but not the signer's in it
    };
    for (const auto& test : kCases) {
        EXPECT_EQ(Ask(test.file), std::nullopt) << test.file;
        EXPECT_EQ(trace.Count("Failed to create Hover message."), test.reported) << test.file;
        EXPECT_EQ(trace.Lines().front(), "enter CShellHover::GetInfoTip");
        EXPECT_EQ(trace.Lines().back(), "leave CShellHover::GetInfoTip");
    }
    catalogue.isThere = false;
    EXPECT_EQ(Ask("ossl-rsa-sha256.p7"), std::nullopt);
    EXPECT_EQ(handler->GetInfoTip(0, nullptr), E_POINTER);
    EXPECT_EQ(handler->GetInfoFlags(nullptr), E_NOTIMPL);
}

}  // namespace
}  // namespace tarnwell::test
