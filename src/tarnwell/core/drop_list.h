#pragma once

// The selected files as the shell hands them over: a DROPFILES block (Windows documentation,
// "DROPFILES structure"), a header followed by zero-terminated names and one empty name. The block
// was filled by another program, so every length in it is checked before use and nothing beyond
// its end is read. Pure; the list only looks at the block and must not outlive it.

#include <cstddef>
#include <optional>
#include <span>

#include "common/system/text/string.h"

namespace tarnwell {

/// One name of the list.
struct DropName {
    CUTF16String path;  ///< As UTF-16; an 8-bit name is widened byte by byte (ISO 8859-1).
    CISOString shown;   ///< For the trace: UTF-8 of a wide name, the bytes of an 8-bit one.
};

class CDropList {
public:
    /// Open checks the whole of `block` and gives nothing when it is shorter than its header, its
    /// names start inside the header or beyond the end, or the end comes before the empty name.
    static std::optional<CDropList> Open(std::span<const std::byte> block) noexcept;

    bool IsWide() const noexcept { return m_wide; }
    /// Count is the number of names, 0 for a list that starts with its empty name.
    std::size_t Count() const noexcept { return m_count; }

    /// ForEach calls `visit(DropName)` for every name in the block's order.
    /// Throws what the strings' memory throws, and what `visit` does.
    template <class Visit>
    void ForEach(Visit&& visit) const {
        std::span<const std::byte> rest = m_names;
        for (std::size_t left = m_count; left > 0; --left)
            visit(Take(rest));
    }

private:
    CDropList(std::span<const std::byte> names, bool wide) noexcept
        : m_names(names), m_wide(wide) {}

    /// NameBytes is the size of the name at the front of `names` without its terminator.
    std::optional<std::size_t> NameBytes(std::span<const std::byte> names) const noexcept;
    DropName Take(std::span<const std::byte>& names) const;
    std::size_t UnitBytes() const noexcept { return m_wide ? 2 : 1; }

    std::span<const std::byte> m_names;
    std::size_t m_count = 0;
    bool m_wide;
};

}  // namespace tarnwell
