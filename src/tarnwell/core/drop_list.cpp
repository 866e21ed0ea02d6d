#include "tarnwell/core/drop_list.h"

#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "common/system/text/convert.h"

namespace tarnwell {
namespace {

// The header: offset of the names, drop point (x, y), "point is outside the client area" and
// "names are wide", each 32 bits, little-endian as every platform of this module is.
constexpr std::size_t kWideFlagAt = 16;
constexpr std::size_t kHeaderBytes = 20;

std::uint32_t Load32(std::span<const std::byte> block, std::size_t at) noexcept {
    std::uint32_t value = 0;
    std::memcpy(&value, block.data() + at, sizeof value);
    return value;
}

}  // namespace

std::optional<CDropList> CDropList::Open(std::span<const std::byte> block) noexcept {
    if (block.size() < kHeaderBytes)
        return std::nullopt;
    const std::size_t offset = Load32(block, 0);
    if (offset < kHeaderBytes || offset > block.size())
        return std::nullopt;

    CDropList list(block.subspan(offset), Load32(block, kWideFlagAt) != 0);
    std::span<const std::byte> rest = list.m_names;
    while (true) {
        const std::optional<std::size_t> bytes = list.NameBytes(rest);
        if (!bytes)
            return std::nullopt;
        if (*bytes == 0)
            return list;
        rest = rest.subspan(*bytes + list.UnitBytes());
        ++list.m_count;
    }
}

std::optional<std::size_t> CDropList::NameBytes(std::span<const std::byte> names) const noexcept {
    const std::size_t step = UnitBytes();
    for (std::size_t at = 0; names.size() - at >= step; at += step) {
        const bool isZero = names[at] == std::byte{0} && names[at + step - 1] == std::byte{0};
        if (isZero)
            return at;
    }
    return std::nullopt;
}

DropName CDropList::Take(std::span<const std::byte>& names) const {
    const std::size_t bytes = NameBytes(names).value();
    const std::span<const std::byte> name = names.first(bytes);
    names = names.subspan(bytes + UnitBytes());

    if (!m_wide) {
        const std::string_view text(reinterpret_cast<const char*>(name.data()), name.size());
        return {Utf16FromLatin1(text), CISOString(text)};
    }
    // The names may start at an odd address, so each unit is copied before it is read.
    CUTF16String path;
    path.Reserve(bytes / sizeof(char16_t));
    for (std::size_t at = 0; at < bytes; at += sizeof(char16_t)) {
        char16_t unit = 0;
        std::memcpy(&unit, name.data() + at, sizeof unit);
        path.AppendUnit(unit);
    }
    CISOString shown = Utf8FromUtf16(path);
    return {std::move(path), std::move(shown)};
}

}  // namespace tarnwell
