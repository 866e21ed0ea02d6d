#include "tarnwell/win32/shell_hover.h"

#include "common/crypto/time_text.h"
#include "common/system/os/owners_win32.h"
#include "extension_fixture.h"

namespace tarnwell::test {
namespace {

/// The archive of the development manager, which the build puts beside the test programs.
class CArchive final : public CCatalogueSource {
public:
    bool LoadCatalogue(Lang& lang) override {
        lang.UseLanguages(u"pl");
        return isThere && lang.Load(u"resources\\kestrix.bin");
    }
    bool isThere = true;
};

// The end-to-end tests read the tips of the whole corpus, in every language.
TEST(ShellHover, TellsOfEverySignerOrOfNone) {
    const std::string none = "none";
    const auto by = [](const std::string& name) {
        return "Podpisane przez: " + name + "(Orchard Test Root)\nData podpisania: " +
               LocalTimeText(1795227600).CStr();  // 2026-11-21T02:20:00Z
    };
    const struct {
        const char* file;
        std::string tip;
        std::size_t reported = 0;
    } kCases[] = {
        {"ossl-two-signers.p7", "signer :0\n" + by("Dov Hale") + "signer :1\n" + by("Alma Reed")},
        {"ossl-name-empty.p7", by("")},
        {"hand-no-signers.p7", ""},
        {"hand-signed-nobody.p7", ""},
        {"capi-data.p7", none},
        {"there is none.p7", none, 1},
        {"ossl-nocerts.p7", none, 1},         // without the set of certificates
        {"hand-cert-empty-set.p7", none, 1},  // with one, but not the signer's in it
    };
    CArchive catalogue;
    const auto handler = MakeObject<CShellHover>(catalogue);
    CUniqueTaskMemory<WCHAR> tip;
    for (const auto& test : kCases) {
        SCOPED_TRACE(test.file);
        handler->Load(Sample(test.file).c_str(), 0);
        const CTraceListener trace;
        const HRESULT result = handler->GetInfoTip(QITIPF_DEFAULT, tip.Put());
        EXPECT_EQ(result, test.tip == none ? E_FAIL : S_OK);
        EXPECT_EQ(tip ? Utf8FromUtf16(Units(tip.Get())).CStr() : none, test.tip);
        EXPECT_EQ(trace.Count("Failed to create Hover message."), test.reported);
        EXPECT_EQ(trace.Lines().front(), "enter CShellHover::GetInfoTip");
        EXPECT_EQ(trace.Lines().back(), "leave CShellHover::GetInfoTip");
    }
    catalogue.isThere = false;
    EXPECT_EQ(handler->GetInfoTip(0, tip.Put()), E_FAIL);
    EXPECT_EQ(handler->GetInfoTip(0, nullptr), E_POINTER);
    EXPECT_EQ(handler->GetInfoFlags(nullptr), E_NOTIMPL);
}

// Which language and which archive a real installation gives is seen in its menus, end to end.
TEST(CatalogueSource, TracesTheWayToTheLanguageAndTheArchive) {
    const CTraceListener trace;
    Lang lang;
    EXPECT_FALSE(CCatalogueSource::System().LoadCatalogue(lang)) << "the tests are not installed";
    for (const char* line :
         {"enter Lang::Auto_set_local_language", "leave Lang::Auto_set_local_language",
          "enter Lang::Auto_extract_Resource_File", "Kestrix resources file reading failed",
          "leave Lang::Auto_extract_Resource_File"})
        EXPECT_EQ(trace.Count(line), 1u) << line;
}

}  // namespace
}  // namespace tarnwell::test
