#include "common/system/lang/lang.h"

#include <gmock/gmock.h>
#include <miniz.h>

#include "common/system/lang/catalogue.h"
#include "support/temp_folder.h"
#include "support/trace_listener.h"

namespace tarnwell::test {
namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;

/// Zip gives the bytes of a zip file with `entries` (name, content), packed.
std::string Zip(std::initializer_list<std::pair<std::string, std::string>> entries) {
    const CTempFolder folder;
    for (const auto& [name, content] : entries)
        EXPECT_TRUE(mz_zip_add_mem_to_archive_file_in_place(
            (folder / "zip").string().c_str(), name.c_str(), content.data(), content.size(),
            nullptr, 0, MZ_DEFAULT_COMPRESSION));
    return ReadBytes(folder / "zip");
}

constexpr const char* kEntry = "scripts/language.fr.js";
constexpr const char* kScript =
    R"(var x = {"tarnwellDLL": {"sign": "Signer", "n": 5, "list": ["x"]}, "": {"": "rien"}};)";

std::optional<CJSValueOwner> Read(const std::string& archive) {
    return ReadCatalogue(BytesOf(archive), kEntry);
}

TEST(ChooseLanguage, TakesTheFirstNameThatIsSupported) {
    EXPECT_STREQ(ChooseLanguage(u"de-DE\0fr-CA\0en-US\0\0"sv), "fr");
    EXPECT_STREQ(ChooseLanguage(u"zh-Hans-CN\0en\0fr\0\0"sv), "en");
    EXPECT_STREQ(ChooseLanguage(u"es-419\0\0"sv), "es");
    EXPECT_STREQ(ChooseLanguage(u"de\0pl-PL"sv), "pl") << "a list without its end";
    for (const std::u16string_view names :
         {u"f\0\0"sv, u"fr_FR\0\0"sv, u"FR-fr\0\0"sv, u"fra-FR\0\0"sv, u"\u0166r-FR\0\0"sv,
          u"de-DE\0\0fr\0\0"sv, u""sv})
        EXPECT_EQ(ChooseLanguage(names), nullptr) << std::string(names.begin(), names.end());
}

TEST(ReadCatalogue, WithoutAnObjectAtTheFirstBraceIsUndefinedAndRead) {
    for (const char* script : {"", "[1, 2]", "x = {\"a\": -1}", "// {not this\nx = {}"}) {
        const auto undefined = Read(Zip({{kEntry, script}}));
        ASSERT_TRUE(undefined) << script;
        EXPECT_TRUE((*undefined)->IsUndefined()) << script;
    }
}

TEST(ReadCatalogue, RefusesWhatIsNoArchiveOrNoEntryOrTooLarge) {
    const std::string archive = Zip({{kEntry, kScript}});
    std::string damaged = archive;
    damaged[30 + std::string_view(kEntry).size() + 20] ^= 0x10;
    std::string understated = archive;
    understated.replace(understated.find("PK\1\2") + 24, 4, "\3\0\0\0"sv);
    std::string marked = archive;
    marked[marked.find("PK\1\2") + 38] |= 0x10;
    const std::string largest = "{}" + std::string(kMaxCatalogueBytes - 2, ' ');
    EXPECT_TRUE(Read(Zip({{kEntry, largest}})));

    const CTraceListener trace;
    EXPECT_FALSE(Read(Zip({{kEntry, largest + " "}})));
    EXPECT_FALSE(Read(Zip({{"scripts/language.en.js", kScript}})));
    EXPECT_FALSE(Read(damaged));
    EXPECT_FALSE(Read(understated)) << "it claims 3 bytes";
    EXPECT_FALSE(Read(marked)) << "it claims to be a folder, of which nothing is unpacked";
    EXPECT_THAT(trace.Messages(), ElementsAre());
    for (const std::string& bytes : {std::string(), archive.substr(0, 100), archive.substr(1)})
        EXPECT_FALSE(Read(bytes));
    const std::string message = "Kestrix resources extraction failed";
    EXPECT_THAT(trace.Messages(), ElementsAre(message, message, message));
}

TEST(LookUpText, FollowsTheDots) {
    const auto root = Read(Zip({{"other.js", "{}"}, {kEntry, kScript}, {"last", "x"}}));
    ASSERT_TRUE(root);
    EXPECT_EQ(LookUpText(**root, "tarnwellDLL.sign"), "Signer");
    EXPECT_EQ(LookUpText(**root, "."), "rien") << "keys may be empty";
    for (const char* noText : {"tarnwellDLL", "tarnwellDLL.n", "tarnwellDLL.list", ""})
        EXPECT_EQ(LookUpText(**root, noText), "") << noText;
    for (const char* absent :
         {"tarnwellDLL.missing", "tarnwellDLL.Sign", "tarnwellDLL.sign.more", "missing.sign", ".."})
        EXPECT_EQ(LookUpText(**root, absent), "Undefined") << absent;
}

std::filesystem::path WriteArchive(const CTempFolder& folder, const std::string& english = "Sign") {
    return folder.Write(
        "kestrix.bin",
        Zip({{"scripts/language.en.js", R"(x={"tarnwellDLL":{"sign":")" + english + "\"}}"},
             {"scripts/language.fr.js", R"(x={"tarnwellDLL":{"sign":"Sign\u00e9"}})"},
             {"scripts/language.pl.js", R"(x={"tarnwellDLL":)"}}));
}

TEST(Lang, SpeaksTheChosenLanguageOrEnglish) {
    const CTempFolder folder;
    const CUTF16String path = Utf16(WriteArchive(folder));
    CISOString english;
    {
        Lang lang;
        EXPECT_EQ(lang["tarnwellDLL.sign"], "Undefined");
        lang.UseLanguages(u"fr-FR");
        EXPECT_TRUE(lang.Load(path));
        EXPECT_EQ(lang["tarnwellDLL.sign"], "Sign\u00E9");
        const CTraceListener trace;
        lang.UseLanguages(u"de-DE");
        EXPECT_THAT(trace.Messages(), ElementsAre("Geting the fallback language"));
        EXPECT_TRUE(lang.Load(path));
        english = lang["tarnwellDLL.sign"];
    }
    EXPECT_EQ(english, "Sign") << "a text outlives its catalogue";
}

TEST(Lang, AFailedLoadKeepsTheCatalogueAndASyntaxErrorDoesNot) {
    const CTempFolder folder;
    const std::filesystem::path path = WriteArchive(folder);
    const auto large = folder.WriteZeros("large.bin", kMaxArchiveBytes + 1);
    Lang lang;
    ASSERT_TRUE(lang.Load(Utf16(path)));
    WriteArchive(folder, "New");
    for (const auto& unreadable : {folder / "missing.bin", folder.Path(), large}) {
        const CTraceListener trace;
        EXPECT_FALSE(lang.Load(Utf16(unreadable)));
        EXPECT_THAT(trace.Messages(), ElementsAre("Kestrix resources file reading failed"));
    }
    lang.UseLanguages(u"es");
    EXPECT_FALSE(lang.Load(Utf16(path))) << "the archive has no Spanish";
    EXPECT_EQ(lang["tarnwellDLL.sign"], "Sign");
    lang.UseLanguages(u"en");
    EXPECT_TRUE(lang.Load(Utf16(path)));
    EXPECT_EQ(lang["tarnwellDLL.sign"], "New") << "the archive is read afresh";
    lang.UseLanguages(u"pl");
    EXPECT_TRUE(lang.Load(Utf16(path)));
    const CTraceListener trace;
    EXPECT_EQ(lang["tarnwellDLL.sign"], "Undefined");
    EXPECT_THAT(trace.Lines(), ElementsAre("enter Lang::operator[]", "leave Lang::operator[]"));
    EXPECT_TRUE(std::filesystem::remove(path)) << "the archive is still open";
}

}  // namespace
}  // namespace tarnwell::test
