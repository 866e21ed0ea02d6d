#include "tarnwell/win32/original_file_icon.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>

#include "common/system/os/settings_win32.h"
#include "common/system/trace/trace.h"
#include "tarnwell/core/icon_model.h"

namespace tarnwell {
namespace {

/// The longest text taken from a registered value, in units without its terminator.
constexpr std::size_t kMaxValue = 280;
/// The longest text that the variables in it may make of it, with its terminator.
constexpr DWORD kMaxExpanded = 1024;

constexpr WORD kDefaultShellIcon = 1;

/// One icon that the caller asks for.
struct Wish {
    CUniqueIcon* icon;
    int size;
};
using Wishes = std::array<Wish, 2>;

std::optional<CUTF16String> Expanded(const wchar_t* text) {
    wchar_t expanded[kMaxExpanded];
    const DWORD length = ExpandEnvironmentStringsW(text, expanded, kMaxExpanded);
    if (length == 0 || length > kMaxExpanded)
        return std::nullopt;
    return CUTF16String(Units(expanded));
}

/// The default value of a key, with its variables filled in where its type says so, as the shell
/// does before it looks for a file. Nothing if it is absent, empty, too long or no text.
std::optional<CUTF16String> DefaultText(const CSettingsKey& key) {
    // Whoever wrote the value may have left out the terminator; one more zero stands behind it.
    std::array<wchar_t, kMaxValue + 2> text{};
    DWORD size = (kMaxValue + 1) * sizeof(wchar_t);
    DWORD type = REG_NONE;
    if (!key.IsOpen() ||
        RegQueryValueExW(key.Get(), nullptr, nullptr, &type, reinterpret_cast<BYTE*>(text.data()),
                         &size) != ERROR_SUCCESS)
        return std::nullopt;
    text[size / sizeof(wchar_t)] = 0;  // half a unit at the end is none
    const std::size_t length = std::char_traits<wchar_t>::length(text.data());
    if (length == 0 || length > kMaxValue)
        return std::nullopt;
    if (type == REG_EXPAND_SZ)
        return Expanded(text.data());
    return type == REG_SZ ? std::optional(CUTF16String(Units(text.data()))) : std::nullopt;
}

/// What the type of files with `extension` registers as its icon, or else the type's current
/// version.
std::optional<CUTF16String> RegisteredIcon(std::u16string_view extension, HKEY classes) {
    const auto typeName = DefaultText(CSettingsKey::Open(classes, CUTF16String(u".") + extension));
    if (!typeName)
        return std::nullopt;
    const CSettingsKey type = CSettingsKey::Open(classes, *typeName);
    if (!type.IsOpen())
        return std::nullopt;
    if (const CSettingsKey icon = CSettingsKey::Open(type.Get(), u"DefaultIcon"); icon.IsOpen())
        return DefaultText(icon);
    const auto version = DefaultText(CSettingsKey::Open(type.Get(), u"CurVer"));
    if (!version)
        return std::nullopt;
    return DefaultText(CSettingsKey::Open(classes, *version + u"\\DefaultIcon"));
}

/// Fills every wish from the file; false if one stays open.
bool Extract(const IconLocation& location, const Wishes& wishes) noexcept {
    // The call is declared to read as many units as this, whatever the name's length.
    std::array<wchar_t, MAX_PATH> file{};
    if (location.file.empty() || location.file.size() >= file.size())
        return false;
    std::ranges::copy(location.file, file.begin());
    bool isComplete = true;
    for (const Wish& wish : wishes) {
        if (!wish.icon)
            continue;
        UINT id = 0;
        PrivateExtractIconsW(file.data(), location.index, wish.size, wish.size, wish.icon->Put(),
                             &id, 1, 0);
        isComplete &= static_cast<bool>(*wish.icon);
    }
    return isComplete;
}

void LoadDefaultIcon(const Wishes& wishes) noexcept {
    TraceString("Default ICON choosen");
    const CUniqueModule shell(LoadLibraryW(L"SHELL32.dll"));
    for (const Wish& wish : wishes) {
        if (wish.icon)
            wish.icon->Reset(static_cast<HICON>(
                shell ? LoadImageW(shell.Get(), MAKEINTRESOURCEW(kDefaultShellIcon), IMAGE_ICON,
                                   wish.size, wish.size, 0)
                      : nullptr));
    }
}

}  // namespace

void LoadOriginalFileIcon(std::u16string_view extension, CUniqueIcon* largeIcon,
                          CUniqueIcon* smallIcon, UINT largeSize, UINT smallSize, HKEY classes) {
    const CTraceScope scope("LoadOriginalFileIcon");
    const Wishes wishes = {
        {{largeIcon, static_cast<int>(largeSize)}, {smallIcon, static_cast<int>(smallSize)}}};
    if (!extension.empty()) {
        const std::optional<CUTF16String> registered = RegisteredIcon(extension, classes);
        if (registered && Extract(ParseIconLocation(*registered), wishes))
            return;
    }
    LoadDefaultIcon(wishes);
}

}  // namespace tarnwell
