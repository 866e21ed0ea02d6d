#include <algorithm>
#include <optional>
#include <span>
#include <vector>

#include "common/system/os/host_application.h"
#include "common/system/os/long_path.h"
#include "common/system/os/windows.h"
// Windows last.
#include <winver.h>

namespace tarnwell {
namespace {

/// A path that does not fit is cut by the system, which still ends it with a zero; it then names no
/// file with a description.
CUTF16String ExecutablePath() {
    wchar_t units[kMaxClassicPath] = {};
    GetModuleFileNameW(nullptr, units, static_cast<DWORD>(kMaxClassicPath));
    return CUTF16String(Units(units));
}

/// Value asks the version resource in `block` for a value, which the system counts in `Unit`s: as
/// many of them as the block holds, whatever the resource says. Nothing without the value.
template <class Unit>
std::optional<std::span<const Unit>> Value(std::span<const unsigned char> block,
                                           const wchar_t* key) {
    void* found = nullptr;
    UINT count = 0;
    if (!VerQueryValueW(block.data(), key, &found, &count) || !found)
        return std::nullopt;
    const auto* const begin = static_cast<const unsigned char*>(found);
    const auto left = static_cast<std::size_t>(block.data() + block.size() - begin);
    return std::span(static_cast<const Unit*>(found),
                     std::min<std::size_t>(count, left / sizeof(Unit)));
}

/// The description in the version resource of `path`; nothing if any step to it fails.
std::optional<CUTF16String> Description(const CUTF16String& path) {
    const DWORD size = GetFileVersionInfoSizeW(Wide(path), nullptr);
    std::vector<unsigned char> block(size);
    if (size == 0 || !GetFileVersionInfoW(Wide(path), 0, size, block.data()))
        return std::nullopt;
    const auto list = Value<unsigned char>(block, L"\\VarFileInfo\\Translation");
    if (!list)
        return std::nullopt;
    const VersionTranslation* translation =
        ChooseTranslation({reinterpret_cast<const VersionTranslation*>(list->data()),
                           list->size() / sizeof(VersionTranslation)},
                          GetUserDefaultLangID());
    if (!translation)
        return std::nullopt;
    const auto text = Value<char16_t>(block, Wide(DescriptionKey(*translation)));
    if (!text)
        return std::nullopt;
    std::u16string_view description(text->data(), text->size());
    while (description.ends_with(u'\0'))
        description.remove_suffix(1);
    return CUTF16String(description);
}

}  // namespace

CUTF16String GetHostApplicationName() {
    const CUTF16String path = ExecutablePath();
    if (path.IsEmpty())
        return {};
    if (std::optional<CUTF16String> description = Description(path))
        return *std::move(description);
    return CUTF16String(PlainProgramName(path));
}

}  // namespace tarnwell
