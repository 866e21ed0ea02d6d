#include "shellprobe/output.h"

#include <cstdio>

#include "common/system/text/convert.h"

namespace tarnwell::shellprobe {
namespace {

std::string Formatted(const char* format, unsigned long value) {
    char text[11];
    (void)std::snprintf(text, sizeof text, format, value);
    return text;
}

}  // namespace

void Print(const CJsonObject& object) {
    (void)std::printf("%s\n", object.Text().c_str());
    (void)std::fflush(stdout);
}

std::string Hex(HRESULT result) {
    return Formatted("0x%08lX", static_cast<unsigned long>(result));
}

std::string ShortHex(UINT flags) {
    return Formatted("0x%lX", flags);
}

std::string Utf8(const std::wstring& text) {
    return std::string(Utf8FromUtf16({Units(text.c_str()), text.size()}).AsView());
}

void AddSize(CJsonObject& json, std::string_view name, const std::optional<SIZE>& size) {
    if (size)
        json.AddRaw(name, "[" + std::to_string(size->cx) + "," + std::to_string(size->cy) + "]");
    else
        json.AddNull(name);
}

}  // namespace tarnwell::shellprobe
