#include "common/system/os/settings_win32.h"

#include <limits>

namespace tarnwell {
namespace {

constexpr char16_t kSettingsPath[] = u"Software\\Quorva";

/// The registry's own limits in units: names of values and of keys.
constexpr DWORD kMaxValueName = 16383;
constexpr DWORD kMaxKeyName = 255;

/// A value may be replaced by a longer one between two calls; more rounds than this is no race.
constexpr int kReadAttempts = 8;

struct Value {
    DWORD type = REG_NONE;
    std::vector<unsigned char> bytes;
};

std::optional<Value> Query(HKEY key, const CUTF16String& name) {
    Value value;
    for (int attempt = 0; attempt < kReadAttempts; ++attempt) {
        auto size = static_cast<DWORD>(value.bytes.size());
        const LSTATUS status =
            RegQueryValueExW(key, Wide(name), nullptr, &value.type, value.bytes.data(), &size);
        const bool fits = status == ERROR_SUCCESS && size <= value.bytes.size();
        if (status != ERROR_SUCCESS && status != ERROR_MORE_DATA)
            return std::nullopt;
        value.bytes.resize(size);
        if (fits)
            return value;
    }
    return std::nullopt;
}

bool Set(HKEY key, const CUTF16String& name, DWORD type, const void* bytes,
         std::size_t size) noexcept {
    return size <= std::numeric_limits<DWORD>::max() &&
           RegSetValueExW(key, Wide(name), 0, type, static_cast<const BYTE*>(bytes),
                          static_cast<DWORD>(size)) == ERROR_SUCCESS;
}

}  // namespace

CSettingsKey CSettingsKey::Create(HKEY root, const CUTF16String& path) noexcept {
    CUniqueRegistryKey key;
    const LSTATUS status = RegCreateKeyExW(root, Wide(path), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                           KEY_READ | KEY_WRITE, nullptr, key.Put(), nullptr);
    return status == ERROR_SUCCESS ? CSettingsKey(std::move(key)) : CSettingsKey();
}

CSettingsKey CSettingsKey::Open(HKEY root, const CUTF16String& path, bool write) noexcept {
    CUniqueRegistryKey key;
    const REGSAM access = KEY_READ | (write ? KEY_WRITE : 0);
    const LSTATUS status = RegOpenKeyExW(root, Wide(path), 0, access, key.Put());
    return status == ERROR_SUCCESS ? CSettingsKey(std::move(key)) : CSettingsKey();
}

std::optional<CUTF16String> CSettingsKey::QueryText(const CUTF16String& name) const {
    const std::optional<Value> value = IsOpen() ? Query(Get(), name) : std::nullopt;
    if (!value || (value->type != REG_SZ && value->type != REG_EXPAND_SZ))
        return std::nullopt;
    // Whoever wrote the value may have left out the terminator, or half a unit.
    CUTF16String text;
    text.Reserve(value->bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < value->bytes.size(); i += 2) {
        const auto unit = static_cast<char16_t>(value->bytes[i] | value->bytes[i + 1] << 8);
        if (unit == 0)
            break;
        text.AppendUnit(unit);
    }
    return text;
}

std::optional<std::uint32_t> CSettingsKey::QueryNumber(const CUTF16String& name) const {
    const std::optional<Value> value = IsOpen() ? Query(Get(), name) : std::nullopt;
    if (!value || value->type != REG_DWORD || value->bytes.size() != sizeof(std::uint32_t))
        return std::nullopt;
    std::uint32_t number = 0;
    for (std::size_t i = sizeof number; i > 0; --i)
        number = number << 8 | value->bytes[i - 1];
    return number;
}

std::optional<std::vector<unsigned char>> CSettingsKey::QueryBytes(const CUTF16String& name) const {
    std::optional<Value> value = IsOpen() ? Query(Get(), name) : std::nullopt;
    if (!value)
        return std::nullopt;
    return std::move(value->bytes);
}

std::vector<CUTF16String> CSettingsKey::ValueNames() const {
    std::vector<CUTF16String> names;
    std::vector<wchar_t> name(kMaxValueName + 1);
    for (DWORD index = 0; IsOpen(); ++index) {
        auto length = static_cast<DWORD>(name.size());
        if (RegEnumValueW(Get(), index, name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
            break;
        names.emplace_back(Units(name.data()), length);
    }
    return names;
}

std::vector<CUTF16String> CSettingsKey::SubKeys() const {
    std::vector<CUTF16String> names;
    wchar_t name[kMaxKeyName + 1];
    for (DWORD index = 0; IsOpen(); ++index) {
        DWORD length = kMaxKeyName + 1;
        if (RegEnumKeyExW(Get(), index, name, &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
            break;
        names.emplace_back(Units(name), length);
    }
    return names;
}

bool CSettingsKey::SetText(const CUTF16String& name, const CUTF16String& text) const noexcept {
    return IsOpen() &&
           Set(Get(), name, REG_SZ, text.CStr(), (text.Length() + 1) * sizeof(char16_t));
}

bool CSettingsKey::SetNumber(const CUTF16String& name, std::uint32_t number) const noexcept {
    return IsOpen() && Set(Get(), name, REG_DWORD, &number, sizeof number);
}

bool CSettingsKey::SetBytes(const CUTF16String& name,
                            const std::vector<unsigned char>& bytes) const noexcept {
    return IsOpen() && Set(Get(), name, REG_BINARY, bytes.data(), bytes.size());
}

bool CSettingsKey::DeleteValue(const CUTF16String& name) const noexcept {
    return IsOpen() && RegDeleteValueW(Get(), Wide(name)) == ERROR_SUCCESS;
}

bool CSettingsKey::DeleteKey(const CUTF16String& path) const noexcept {
    // An empty path would name the key itself and empty it.
    return IsOpen() && !path.IsEmpty() && RegDeleteTreeW(Get(), Wide(path)) == ERROR_SUCCESS;
}

const CSettingsKey& SettingsKey() {
    static const CSettingsKey key = [] {
        CSettingsKey made = CSettingsKey::Create(HKEY_LOCAL_MACHINE, kSettingsPath);
        return made.IsOpen() ? std::move(made)
                             : CSettingsKey::Open(HKEY_LOCAL_MACHINE, kSettingsPath);
    }();
    return key;
}

}  // namespace tarnwell
