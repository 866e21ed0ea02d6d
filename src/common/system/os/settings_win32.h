#pragma once

// The machine-wide settings key of the maker's products and a small key class to work below it.
// A key belongs to the thread that opened it, except the shared one, which any thread may read.

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "common/system/os/owners_win32.h"
#include "common/system/text/string.h"

namespace tarnwell {

/// One open registry key. Failures never throw: a key that could not be opened is "not open" and
/// answers every question with nothing. Names are case-insensitive, as the registry's are.
class CSettingsKey {
public:
    CSettingsKey() noexcept = default;

    /// Create opens `path` below `root` for reading and writing and makes it if it is absent.
    static CSettingsKey Create(HKEY root, const CUTF16String& path) noexcept;
    /// Open opens an existing `path` below `root`, for reading and, if asked, for writing.
    static CSettingsKey Open(HKEY root, const CUTF16String& path, bool write = false) noexcept;

    bool IsOpen() const noexcept { return static_cast<bool>(m_key); }
    HKEY Get() const noexcept { return m_key.Get(); }

    /// QueryText gives a REG_SZ or REG_EXPAND_SZ value as it is stored, without its terminator;
    /// nothing for an absent value or one of another type.
    std::optional<CUTF16String> QueryText(const CUTF16String& name) const;
    /// QueryNumber gives a REG_DWORD value.
    std::optional<std::uint32_t> QueryNumber(const CUTF16String& name) const;
    /// QueryBytes gives the bytes of a value of any type.
    std::optional<std::vector<unsigned char>> QueryBytes(const CUTF16String& name) const;

    /// ValueNames and SubKeys list names in the registry's order.
    std::vector<CUTF16String> ValueNames() const;
    std::vector<CUTF16String> SubKeys() const;

    /// The setters write REG_SZ, REG_DWORD and REG_BINARY; true when written.
    bool SetText(const CUTF16String& name, const CUTF16String& text) const noexcept;
    bool SetNumber(const CUTF16String& name, std::uint32_t number) const noexcept;
    bool SetBytes(const CUTF16String& name, const std::vector<unsigned char>& bytes) const noexcept;

    /// DeleteValue and DeleteKey are true when the value, the sub-key with everything below it,
    /// was there and is gone.
    bool DeleteValue(const CUTF16String& name) const noexcept;
    bool DeleteKey(const CUTF16String& path) const noexcept;

private:
    explicit CSettingsKey(CUniqueRegistryKey key) noexcept : m_key(std::move(key)) {}

    CUniqueRegistryKey m_key;
};

/// SettingsKey is Software\Quorva of the machine, opened (made, if need be) on the first call and
/// kept for the life of the process. Few users may write there: for the others it is open for
/// reading, if it is there.
const CSettingsKey& SettingsKey();

}  // namespace tarnwell
