#pragma once

// Writes one JSON object on one line (RFC 8259), members in the order in which they are added. The
// text comes from file names and certificates, so everything is escaped that could end a string or
// a line. Pure.

#include <cstdint>
#include <string>
#include <string_view>

namespace tarnwell {

/// Quoted gives the text as a JSON string. What is no well-formed UTF-8 becomes U+FFFD; control
/// characters, DEL and the line separators U+2028 and U+2029 are written as \uXXXX.
std::string Quoted(std::string_view text);

class CJsonObject {
public:
    CJsonObject& Add(std::string_view name, std::string_view text);
    CJsonObject& Add(std::string_view name, std::uint64_t number);
    CJsonObject& AddFlag(std::string_view name, bool value);
    CJsonObject& AddNull(std::string_view name);
    /// AddRaw adds a value that is JSON already.
    CJsonObject& AddRaw(std::string_view name, std::string_view json);

    /// Text gives the whole object, without a line end.
    std::string Text() const { return m_members + "}"; }

private:
    std::string m_members = "{";
};

class CJsonArray {
public:
    /// AddRaw adds a value that is JSON already.
    void AddRaw(std::string_view json);
    std::string Text() const { return m_items + "]"; }

private:
    std::string m_items = "[";
};

}  // namespace tarnwell
