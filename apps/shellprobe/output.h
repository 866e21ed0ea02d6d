#pragma once

// How the commands write their answers: one JSON object a line on standard output, in UTF-8.

#include <optional>
#include <string>

#include "common/system/json/json_line.h"
#include "common/system/os/windows.h"

namespace tarnwell::shellprobe {

/// Print writes the object as one line, at once.
void Print(const CJsonObject& object);

/// Hex gives a result as "0x8000000A".
std::string Hex(HRESULT result);

/// ShortHex gives flags as "0x18".
std::string ShortHex(UINT flags);

/// Utf8 converts; a lone surrogate becomes "?".
std::string Utf8(const std::wstring& text);

/// AddSize adds a picture's size as [width,height], null without a picture.
void AddSize(CJsonObject& json, std::string_view name, const std::optional<SIZE>& size);

}  // namespace tarnwell::shellprobe
