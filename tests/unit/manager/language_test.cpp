#include <gtest/gtest.h>

#include <set>
#include <string>

#include "common/system/lang/catalogue.h"
#include "common/system/os/file.h"
#include "common/system/text/convert.h"

namespace tarnwell {
namespace {

/// The archive that the build made, beside the test programs.
CFileBytes Archive() {
    return ReadWholeFile(u"resources/kestrix.bin", kMaxArchiveBytes);
}

std::string Text(const CJSValue& root, std::string_view key) {
    return std::string(LookUpText(root, key).AsView());
}

constexpr const char* kKeys[] = {
    "menu.open",
    "tarnwellDLL.sign",
    "tarnwellDLL.encrypt",
    "tarnwellDLL.signencrypt",
    "tarnwellDLL.recover",
    "tarnwellDLL.recover_veryfy",
    "tarnwellDLL.general_error_title",
    "tarnwellDLL.general_error_message",
    "tarnwellDLL.open_file_error_message",
    "tarnwellDLL.recover_error_title",
    "tarnwellDLL.recover_error_message",
    "tarnwellDLL.signed_by",
    "tarnwellDLL.signed_on",
};

TEST(LanguageArchive, HasEveryTextInEveryLanguage) {
    const CFileBytes archive = Archive();
    for (const char* const* language = kSupportedLanguages; *language; ++language) {
        const auto catalogue = ReadCatalogue(archive, CatalogueEntryName(*language));
        ASSERT_TRUE(catalogue) << *language;
        std::set<std::string> menu;
        for (const char* key : kKeys) {
            const std::string text = Text(**catalogue, key);
            EXPECT_NE(text, kUndefinedText) << *language << " " << key;
            EXPECT_FALSE(text.empty()) << *language << " " << key;
            const CISOString again = Utf8FromUtf16(Utf16FromUtf8(text));
            EXPECT_EQ(again, std::string_view(text)) << "no UTF-8: " << *language << " " << key;
            EXPECT_EQ(text.find('&'), text.npos) << "an underline in a menu: " << text;
            EXPECT_EQ(text.find('%'), text.npos) << text;
            menu.insert(text);
        }
        EXPECT_EQ(menu.size(), std::size(kKeys)) << "two texts are the same in " << *language;
    }
}

TEST(LanguageArchive, SpeaksDifferentLanguages) {
    const CFileBytes archive = Archive();
    const auto french = ReadCatalogue(archive, CatalogueEntryName("fr"));
    const auto polish = ReadCatalogue(archive, CatalogueEntryName("pl"));
    ASSERT_TRUE(french && polish);
    EXPECT_EQ(Text(**french, "tarnwellDLL.recover"),
              "D\xC3\xA9"
              "chiffrer et ouvrir");
    EXPECT_EQ(Text(**polish, "menu.open"), "Otw\xC3\xB3rz");
}

}  // namespace
}  // namespace tarnwell
