// The language catalogue over arbitrary archives, and the choice of a language over arbitrary lists
// of names.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>

#include "common/system/lang/catalogue.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The reader reports missing colons there.
    return std::freopen("/dev/null", "w", stdout) != nullptr ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tarnwell;
    std::u16string names(size / sizeof(char16_t), u'\0');
    std::copy_n(data, names.size() * sizeof(char16_t),
                reinterpret_cast<unsigned char*>(names.data()));
    const char* const language = ChooseLanguage(names);

    const CISOString entryName = CatalogueEntryName(language != nullptr ? language : "en");
    if (const auto root = ReadCatalogue({data, size}, entryName))
        for (const char* key : {"", ".", "a", "a.b.c", "tarnwellDLL", "tarnwellDLL.sign"})
            static_cast<void>(LookUpText(**root, key));
    return 0;
}
