#include "common/system/json/json_line.h"

#include "common/system/text/convert.h"

namespace tarnwell {

namespace {

void AppendEscape(std::string& json, unsigned value) {
    constexpr char kDigits[] = "0123456789abcdef";
    json += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4)
        json += kDigits[value >> shift & 0xF];
}

}  // namespace

std::string Quoted(std::string_view text) {
    std::string json = "\"";
    // By way of UTF-16 and back, so that no ill-formed byte gets through.
    const CUTF16String units = Utf16FromUtf8(text);
    const CISOString clean = Utf8FromUtf16(units);
    for (std::size_t i = 0; i < clean.Length(); ++i) {
        const auto unit = static_cast<unsigned char>(clean[i]);
        const std::string_view rest = clean.AsView().substr(i);
        if (unit == '"' || unit == '\\') {
            json += '\\';
            json += clean[i];
        } else if (unit < 0x20 || unit == 0x7F) {
            AppendEscape(json, unit);
        } else if (rest.starts_with("\xE2\x80\xA8") || rest.starts_with("\xE2\x80\xA9")) {
            AppendEscape(json, rest[2] == '\xA8' ? 0x2028 : 0x2029);
            i += 2;
        } else {
            json += clean[i];
        }
    }
    return json + "\"";
}

CJsonObject& CJsonObject::Add(std::string_view name, std::string_view text) {
    return AddRaw(name, Quoted(text));
}

CJsonObject& CJsonObject::Add(std::string_view name, std::uint64_t number) {
    return AddRaw(name, std::to_string(number));
}

CJsonObject& CJsonObject::AddFlag(std::string_view name, bool value) {
    return AddRaw(name, value ? "true" : "false");
}

CJsonObject& CJsonObject::AddNull(std::string_view name) {
    return AddRaw(name, "null");
}

CJsonObject& CJsonObject::AddRaw(std::string_view name, std::string_view json) {
    if (m_members.size() > 1)
        m_members += ",";
    m_members += Quoted(name);
    m_members += ":";
    m_members += json;
    return *this;
}

void CJsonArray::AddRaw(std::string_view json) {
    if (m_items.size() > 1)
        m_items += ",";
    m_items += json;
}

}  // namespace tarnwell
