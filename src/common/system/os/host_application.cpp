#include "common/system/os/host_application.h"

#include <algorithm>
#include <iterator>

namespace tarnwell {
namespace {

void AppendHex(CUTF16String& text, std::uint16_t value) {
    for (int shift = 12; shift >= 0; shift -= 4)
        text.AppendUnit(u"0123456789abcdef"[(value >> shift) & 0xF]);
}

}  // namespace

const VersionTranslation* ChooseTranslation(std::span<const VersionTranslation> list,
                                            std::uint16_t language) noexcept {
    constexpr std::uint16_t kNeutral = 0;
    constexpr std::uint16_t kUsEnglish = 1033;
    for (const std::uint16_t wanted : {language, kNeutral, kUsEnglish}) {
        const auto last = std::find_if(
            list.rbegin(), list.rend(),
            [wanted](const VersionTranslation& entry) { return entry.language == wanted; });
        if (last != list.rend())
            return &*last;
    }
    return list.empty() ? nullptr : &list.front();
}

CUTF16String DescriptionKey(VersionTranslation translation) {
    CUTF16String key(u"\\StringFileInfo\\");
    AppendHex(key, translation.language);
    AppendHex(key, translation.codePage);
    return key + u"\\FileDescription";
}

std::u16string_view PlainProgramName(std::u16string_view path) noexcept {
    path.remove_prefix(path.find_last_of(u"\\/") + 1);  // npos + 1 is 0: there is no folder
    return path.substr(0, path.find(u'.'));
}

}  // namespace tarnwell
