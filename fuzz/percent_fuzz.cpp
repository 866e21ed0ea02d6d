// Percent coding: what is encoded decodes to itself, and decoding takes any text.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "common/system/net/percent.h"

using namespace tarnwell;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    const CISOString encoded = PercentEncode(text);
    for (const char unit : encoded.AsView())
        if (unit <= ' ' || unit > '~' ||
            std::string_view("\\\"'+,/:&=?#").find(unit) != std::string_view::npos)
            __builtin_trap();
    if (PercentDecode(encoded) != text.substr(0, text.find('\0')))
        __builtin_trap();

    const CISOString decoded = PercentDecode(text);
    const auto bytes = PercentDecodeBytes(text);
    const std::string_view view = decoded.AsView();
    if (decoded.Length() > size || !std::equal(view.begin(), view.end(), bytes.begin(), bytes.end(),
                                               [](char unit, std::uint8_t byte) {
                                                   return static_cast<std::uint8_t>(unit) == byte;
                                               }))
        __builtin_trap();
    return 0;
}
