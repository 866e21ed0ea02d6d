// The icon handler's names: what is taken from a path or a registered text lies inside it, and
// reads the same from a text that it is written into.

#include <memory>
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

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // A copy that ends where its memory ends: the fuzzer's own buffer may have room behind it.
    const std::size_t length = size / 2;
    const auto units = std::make_unique<char16_t[]>(length);
    for (std::size_t i = 0; i < length; ++i)
        units[i] = static_cast<char16_t>(data[2 * i] | data[2 * i + 1] << 8);
    const std::u16string_view text(units.get(), length);

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
    return 0;
}
