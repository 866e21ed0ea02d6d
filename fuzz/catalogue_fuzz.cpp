// The language catalogue over arbitrary archives, and the choice of a language over arbitrary lists
// of names.

#include "common/system/lang/catalogue.h"
#include "fuzz_support.h"

void tarnwell::Fuzz(std::string_view input) {
    const char* const language = ChooseLanguage(UnitsOf(input));
    const CISOString entryName = CatalogueEntryName(language != nullptr ? language : "en");
    if (const auto root = ReadCatalogue(BytesOf(input), entryName))
        for (const char* key : {"", ".", "a", "a.b.c", "tarnwellDLL", "tarnwellDLL.sign"})
            static_cast<void>(LookUpText(**root, key));
}
