// Percent coding: what is encoded decodes to itself, and decoding takes any text.

#include "common/system/net/percent.h"
#include "fuzz_support.h"

using namespace tarnwell;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = TextOf(data, size);

    const CISOString encoded = PercentEncode(text);
    for (const char unit : encoded.AsView())
        Require(unit > ' ' && unit <= '~' &&
                std::string_view("\\\"'+,/:&=?#").find(unit) == std::string_view::npos);
    Require(PercentDecode(encoded) == text.substr(0, text.find('\0')));

    const CISOString decoded = PercentDecode(text);
    const auto bytes = PercentDecodeBytes(text);
    Require(decoded.Length() <= size && decoded == TextOf(bytes.data(), bytes.size()));
    return 0;
}
