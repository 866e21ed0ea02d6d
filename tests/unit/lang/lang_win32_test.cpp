#include "common/system/lang/lang.h"

#include <gtest/gtest.h>

#include <string>

#include "common/system/lang/catalogue.h"
#include "common/system/os/windows.h"
#include "support/trace_listener.h"

namespace tarnwell {
namespace {

TEST(Lang, TakesTheSystemsLanguageAndTheArchiveOfTheInstallation) {
    wchar_t names[512] = {};
    ULONG count = 0, length = 512;
    ASSERT_TRUE(GetThreadPreferredUILanguages(MUI_LANGUAGE_NAME, &count, names, &length));
    const char* const chosen = ChooseLanguage({Units(names), length});
    const test::CTraceListener trace;
    Lang lang;
    lang.UseLanguages(chosen != nullptr && *chosen == 'f' ? u"pl" : u"fr");
    lang.Auto_set_local_language();
    EXPECT_STREQ(lang.Language(), chosen != nullptr ? chosen : "en");

    // The installation that a test's program lies in has no archive.
    EXPECT_EQ(ArchivePath(), ArchivePathOf(ModulePath(), ProgramFilesFolders::Fetch()));
    EXPECT_FALSE(lang.Auto_extract_Resource_File());
    for (const char* line :
         {"enter Lang::Auto_set_local_language", "leave Lang::Auto_set_local_language",
          "enter Lang::Auto_extract_Resource_File", "Kestrix resources file reading failed",
          "leave Lang::Auto_extract_Resource_File"})
        EXPECT_EQ(trace.Count(line), 1U) << line;
}

}  // namespace
}  // namespace tarnwell
