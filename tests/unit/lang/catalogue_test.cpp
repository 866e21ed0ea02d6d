#include "common/system/lang/catalogue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "support/trace_listener.h"
#include "zip_archive.h"

namespace tarnwell {
namespace {

using test::CTraceListener;
using test::WithClaimedSize;
using test::Zip;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kEntry = "scripts/language.fr.js";
constexpr const char* kScript =
    "// {not this\nvar language = {\"tarnwellDLL\": {\"sign\": \"Signer\", \"n\": 5, \"list\": "
    "[\"x\"], \"yes\": true}, \"top\": \"texte\", \"\": {\"\": \"rien\"}, \"a\": {\"b\": {\"c\": "
    "\"profond\"}}};";

std::optional<CJSValueOwner> Read(const std::string& archive) {
    return ReadCatalogue({reinterpret_cast<const unsigned char*>(archive.data()), archive.size()},
                         kEntry);
}

/// The script without its first comment, whose "{" would be taken for the start.
std::string Script() {
    const std::string_view script = kScript;
    return std::string(script.substr(script.find("var")));
}

std::string Chosen(std::u16string_view names) {
    const char* language = ChooseLanguage(names);
    return language == nullptr ? "(none)" : language;
}

TEST(ChooseLanguage, TakesTheFirstNameThatIsSupported) {
    using namespace std::string_view_literals;
    const struct {
        std::u16string_view names;
        const char* chosen;
    } cases[] = {
        {u"de-DE\0fr-CA\0en-US\0\0"sv, "fr"},
        {u"fr\0\0"sv, "fr"},
        {u"fr-FR\0\0"sv, "fr"},
        {u"es-419\0\0"sv, "es"},
        {u"pl-\0\0"sv, "pl"},
        {u"zh-Hans-CN\0de\0en-GB\0fr\0\0"sv, "en"},
        {u"en-US\0fr-FR\0\0"sv, "en"},
        {u"f\0\0"sv, "(none)"},
        {u"fr_FR\0\0"sv, "(none)"},
        {u"FR-fr\0\0"sv, "(none)"},
        {u"FR\0\0"sv, "(none)"},
        {u"fra\0\0"sv, "(none)"},
        {u"fra-FR\0\0"sv, "(none)"},
        {u"-fr\0\0"sv, "(none)"},
        {u"\u0166r-FR\0\0"sv, "(none)"},
        {u"de-DE\0\0fr\0\0"sv, "(none)"},
        {u"\0fr\0\0"sv, "(none)"},
        {u""sv, "(none)"},
        // A list that its system forgot to end.
        {u"de\0pl"sv, "pl"},
        {u"de\0pl-PL"sv, "pl"},
    };
    for (const auto& expected : cases)
        EXPECT_EQ(Chosen(expected.names), expected.chosen)
            << std::string(expected.names.begin(), expected.names.end());
}

TEST(ChooseLanguage, GivesTheEntryOfTheTableItself) {
    EXPECT_EQ(ChooseLanguage(std::u16string_view(u"es-MX\0", 6)), kSupportedLanguages[2]);
}

TEST(ReadCatalogue, ReadsTheObjectOfTheScript) {
    const CTraceListener trace;
    const auto root = Read(Zip({{"other.js", "{}"}, {kEntry, Script()}, {"last", "x"}}));
    ASSERT_TRUE(root);
    EXPECT_EQ((*root)->Member("top").StringValue(), "texte");
    EXPECT_THAT(trace.Messages(), IsEmpty());
}

TEST(ReadCatalogue, StartsAtTheFirstBraceWhereverItStands) {
    const auto root = Read(Zip({{kEntry, kScript}}));
    ASSERT_TRUE(root);
    EXPECT_TRUE((*root)->IsUndefined());
}

TEST(ReadCatalogue, ACatalogueWithoutAnObjectIsUndefinedAndRead) {
    for (const char* script : {"", "var language;", "[1, 2]", "{\"a\": -1}", "x = {"}) {
        const auto root = Read(Zip({{kEntry, script}}));
        ASSERT_TRUE(root) << script;
        EXPECT_TRUE((*root)->IsUndefined()) << script;
    }
}

TEST(ReadCatalogue, AnArchiveWithoutTheEntryIsRefusedWithoutAMessage) {
    const CTraceListener trace;
    EXPECT_FALSE(Read(Zip({{"scripts/language.en.js", Script()}})));
    EXPECT_FALSE(Read(Zip({})));
    EXPECT_THAT(trace.Messages(), IsEmpty());
}

TEST(ReadCatalogue, WhatIsNoArchiveIsReportedOnce) {
    for (const std::string& archive :
         {std::string(), std::string("no zip"), Zip({{kEntry, Script()}}).substr(0, 100),
          Zip({{kEntry, Script()}}).substr(1)}) {
        const CTraceListener trace;
        EXPECT_FALSE(Read(archive));
        EXPECT_THAT(trace.Messages(), ElementsAre("Kestrix resources extraction failed"));
    }
}

TEST(ReadCatalogue, ADamagedEntryIsRefused) {
    const std::string archive = Zip({{kEntry, Script()}});
    std::string damaged = archive;
    damaged[30 + std::string_view(kEntry).size() + 20] ^= 0x10;
    EXPECT_FALSE(Read(damaged));
    EXPECT_FALSE(Read(WithClaimedSize(archive, static_cast<std::uint32_t>(Script().size()) - 1)));
    EXPECT_FALSE(Read(WithClaimedSize(archive, static_cast<std::uint32_t>(Script().size()) + 1)));
}

TEST(ReadCatalogue, AnEntryOfMoreThan16MiBIsRefused) {
    const std::string text = "{\"a\": \"b\"}";
    std::string script = text;
    script.resize(kMaxCatalogueBytes, ' ');
    EXPECT_TRUE(Read(Zip({{kEntry, script}})));
    EXPECT_FALSE(Read(Zip({{kEntry, script + " "}})));
    EXPECT_FALSE(Read(WithClaimedSize(Zip({{kEntry, text}}), 0xFFFFFFF0)));
}

TEST(LookUpText, FollowsTheDots) {
    const auto root = Read(Zip({{kEntry, Script()}}));
    ASSERT_TRUE(root);
    const struct {
        const char* key;
        const char* text;
    } cases[] = {
        {"tarnwellDLL.sign", "Signer"},
        {"top", "texte"},
        {"a.b.c", "profond"},
        // What is there but no text is empty.
        {"tarnwellDLL", ""},
        {"a.b", ""},
        {"tarnwellDLL.n", ""},
        {"tarnwellDLL.list", ""},
        {"tarnwellDLL.yes", ""},
        {"tarnwellDLL.missing", "Undefined"},
        {"missing", "Undefined"},
        {"missing.sign", "Undefined"},
        {"tarnwellDLL.sign.more", "Undefined"},
        {"tarnwellDLL.Sign", "Undefined"},
        {"tarnwellDLL.", "Undefined"},
        {".top", "Undefined"},
        // Parts may be empty, as keys may.
        {"", ""},
        {".", "rien"},
        {"..", "Undefined"},
    };
    for (const auto& expected : cases)
        EXPECT_EQ(LookUpText(**root, expected.key), expected.text) << expected.key;
    EXPECT_EQ(LookUpText(CJSValue::Undefined(), "tarnwellDLL.sign"), "Undefined");
}

}  // namespace
}  // namespace tarnwell
