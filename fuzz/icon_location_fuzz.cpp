// The icon handler's names: what is taken from a path or a registered text lies inside it, and
// reads the same from a text that it is written into.

#include <string>

#include "fuzz_support.h"
#include "tarnwell/core/icon_model.h"

using namespace tarnwell;

namespace {

void RequirePart(std::u16string_view part, std::u16string_view whole) {
    Require(part.empty() || (part.data() >= whole.data() &&
                             part.data() + part.size() <= whole.data() + whole.size()));
}

}  // namespace

void tarnwell::Fuzz(std::string_view input) {
    const std::u16string_view text = UnitsOf(input);
    const std::u16string_view extension = EnclosedExtension(text);
    RequirePart(extension, text);
    Require(extension.find(u'.') == extension.npos);
    Require(EnclosedExtension(u"a." + std::u16string(extension) + u".p7") == extension);

    const IconLocation location = ParseIconLocation(text);
    RequirePart(location.file, text);
    Require(location.index == 0 || text.find(u',') != text.npos);
    std::u16string written(location.file);
    written += u',';
    for (const char digit : std::to_string(location.index))
        written += static_cast<char16_t>(digit);
    const IconLocation again = ParseIconLocation(written);
    Require(again.file == location.file && again.index == location.index);
}
