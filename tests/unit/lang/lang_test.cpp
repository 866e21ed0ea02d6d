#include "common/system/lang/lang.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "common/system/lang/catalogue.h"
#include "support/temp_folder.h"
#include "support/trace_listener.h"
#include "zip_archive.h"

namespace tarnwell {
namespace {

using test::CTempFolder;
using test::CTraceListener;
using test::Utf16;
using test::Zip;
using testing::ElementsAre;
using testing::IsEmpty;

std::string Archive() {
    return Zip({{"scripts/language.en.js", R"(x={"tarnwellDLL":{"sign":"Sign"}})"},
                {"scripts/language.fr.js", R"(x={"tarnwellDLL":{"sign":"Sign\u00e9"}})"},
                {"scripts/language.pl.js", R"(x={"tarnwellDLL":)"}});
}

void Choose(Lang& lang, std::u16string names) {
    names.push_back(u'\0');
    lang.UseLanguages(names);
}

TEST(Lang, AnswersUndefinedBeforeACatalogueIsLoaded) {
    const Lang lang;
    EXPECT_EQ(lang["tarnwellDLL.sign"], "Undefined");
    EXPECT_STREQ(lang.Language(), "en");
}

TEST(Lang, SpeaksTheChosenLanguage) {
    const CTempFolder folder;
    const CUTF16String path = Utf16(folder.Write("kestrix.bin", Archive()));
    for (const auto& [name, text] : std::initializer_list<std::pair<const char16_t*, const char*>>{
             {u"fr-FR", "Sign\xC3\xA9"}, {u"en-GB", "Sign"}, {u"de-DE", "Sign"}}) {
        Lang lang;
        Choose(lang, name);
        EXPECT_TRUE(lang.Load(path));
        EXPECT_EQ(lang["tarnwellDLL.sign"], text);
    }
}

TEST(Lang, SaysWhenItFallsBackToEnglish) {
    const CTraceListener trace;
    Lang lang;
    Choose(lang, u"fr");
    EXPECT_THAT(trace.Messages(), IsEmpty());
    lang.UseLanguages({});
    EXPECT_THAT(trace.Messages(), ElementsAre("Geting the fallback language"));
    EXPECT_EQ(lang.Language(), kSupportedLanguages[0]);
}

TEST(Lang, SaysWhenTheArchiveCannotBeRead) {
    const CTempFolder folder;
    for (const auto& path : {folder / "missing.bin", folder.Path()}) {
        const CTraceListener trace;
        Lang lang;
        EXPECT_FALSE(lang.Load(Utf16(path)));
        EXPECT_THAT(trace.Messages(), ElementsAre("Kestrix resources file reading failed"));
        EXPECT_EQ(lang["tarnwellDLL.sign"], "Undefined");
    }
}

TEST(Lang, RefusesAnArchiveThatIsTooLarge) {
    const CTempFolder folder;
    const auto path = folder.Write("kestrix.bin", Archive());
    std::filesystem::resize_file(path, kMaxArchiveBytes + 1);
    const CTraceListener trace;
    Lang lang;
    EXPECT_FALSE(lang.Load(Utf16(path)));
    EXPECT_THAT(trace.Messages(), ElementsAre("Kestrix resources file reading failed"));
}

TEST(Lang, AFailedLoadKeepsTheCatalogueAndASyntaxErrorDoesNot) {
    const CTempFolder folder;
    const CUTF16String path = Utf16(folder.Write("kestrix.bin", Archive()));
    Lang lang;
    ASSERT_TRUE(lang.Load(path));
    Choose(lang, u"es");
    EXPECT_FALSE(lang.Load(path)) << "the archive has no Spanish";
    EXPECT_FALSE(lang.Load(Utf16(folder / "missing")));
    EXPECT_EQ(lang["tarnwellDLL.sign"], "Sign");
    Choose(lang, u"pl");
    EXPECT_TRUE(lang.Load(path));
    EXPECT_EQ(lang["tarnwellDLL.sign"], "Undefined");
}

TEST(Lang, ReadsTheArchiveAfreshAtEachLoad) {
    const CTempFolder folder;
    const auto path = folder.Write("kestrix.bin", Archive());
    Lang lang;
    ASSERT_TRUE(lang.Load(Utf16(path)));
    folder.Write("kestrix.bin",
                 Zip({{"scripts/language.en.js", R"({"tarnwellDLL":{"sign":"New"}})"}}));
    EXPECT_EQ(lang["tarnwellDLL.sign"], "Sign");
    ASSERT_TRUE(lang.Load(Utf16(path)));
    EXPECT_EQ(lang["tarnwellDLL.sign"], "New");
    EXPECT_TRUE(std::filesystem::remove(path)) << "the archive is still open";
}

TEST(Lang, TracesEveryLookup) {
    const CTraceListener trace;
    const Lang lang;
    static_cast<void>(lang["a.b"]);
    EXPECT_THAT(trace.Lines(), ElementsAre("enter Lang::operator[]", "leave Lang::operator[]"));
}

TEST(Lang, ATextOutlivesTheCatalogue) {
    const CTempFolder folder;
    const CUTF16String path = Utf16(folder.Write("kestrix.bin", Archive()));
    CISOString text;
    {
        Lang lang;
        ASSERT_TRUE(lang.Load(path));
        text = lang["tarnwellDLL.sign"];
    }
    EXPECT_EQ(text, "Sign");
}

TEST(ArchivePathOf, FollowsTheModuleToThe32BitInstallation) {
    const ProgramFilesFolders folders = {u"C:\\Program Files", u"C:\\Program Files (x86)"};
    const struct {
        const char16_t* module;
        const char16_t* archive;
    } cases[] = {
        {u"C:\\Program Files\\X\\x64\\bin\\ext.dll",
         u"C:\\Program Files (x86)\\X\\x64\\bin\\..\\resources\\kestrix.bin"},
        {u"D:\\x64\\b\\x64\\ext.dll", u"D:\\win32\\b\\x64\\..\\resources\\kestrix.bin"},
        {u"D:\\a\\x64.dll", u"D:\\a\\..\\resources\\kestrix.bin"},
        {u"ext.dll", u"\\..\\resources\\kestrix.bin"},
    };
    for (const auto& expected : cases)
        EXPECT_EQ(ArchivePathOf(expected.module, folders), expected.archive);
}

}  // namespace
}  // namespace tarnwell
