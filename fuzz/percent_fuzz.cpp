// Percent coding: what is encoded decodes to itself, and decoding takes any text.

#include "common/system/net/percent.h"
#include "fuzz_support.h"

void tarnwell::Fuzz(std::string_view text) {
    const CISOString encoded = PercentEncode(text);
    for (const char unit : encoded.AsView())
        Require(unit > ' ' && unit <= '~' &&
                std::string_view("\\\"'+,/:&=?#").find(unit) == std::string_view::npos);
    Require(PercentDecode(encoded) == text.substr(0, text.find('\0')));

    const CISOString decoded = PercentDecode(text);
    Require(decoded.Length() <= text.size() && decoded == TextOf(PercentDecodeBytes(text)));
}
