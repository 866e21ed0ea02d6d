#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "common/system/lang/catalogue.h"
#include "common/system/os/file.h"
#include "common/system/text/convert.h"

namespace tarnwell {
namespace {

TEST(LanguageArchive, HasADifferentTextForEveryKeyInEveryLanguage) {
    constexpr const char* kNames =
        "sign encrypt signencrypt recover recover_veryfy general_error_title general_error_message "
        "open_file_error_message recover_error_title recover_error_message signed_by signed_on";
    // The archive that the build made, beside the test programs.
    const CFileBytes archive = ReadWholeFile(u"resources/kestrix.bin", kMaxArchiveBytes);
    std::set<std::string> open = {std::string(kUndefinedText)};
    for (const char* const* language = kSupportedLanguages; *language; ++language) {
        const auto catalogue = ReadCatalogue(archive, CatalogueEntryName(*language));
        ASSERT_TRUE(catalogue) << *language;
        std::set<std::string> texts = {"", std::string(kUndefinedText)};
        std::istringstream names(kNames);
        for (std::string name; names >> name;) {
            const std::string text(LookUpText(**catalogue, "tarnwellDLL." + name).AsView());
            EXPECT_TRUE(texts.insert(text).second) << *language << " " << name << ": " << text;
            EXPECT_EQ(text.find_first_of("&%"), text.npos) << "special in a menu: " << text;
            EXPECT_EQ(Utf8FromUtf16(Utf16FromUtf8(text)), std::string_view(text)) << "no UTF-8";
        }
        open.emplace(LookUpText(**catalogue, "menu.open").AsView());
    }
    EXPECT_EQ(open.size(), 5u) << "two languages say the same, or one says nothing";
    EXPECT_TRUE(open.contains("Otw\u00F3rz"));
}

}  // namespace
}  // namespace tarnwell
