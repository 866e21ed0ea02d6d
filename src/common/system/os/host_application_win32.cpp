#include <optional>
#include <vector>

#include "common/system/os/host_application.h"
#include "common/system/os/long_path.h"
#include "common/system/os/windows.h"
// Windows last.
#include <winver.h>

namespace tarnwell {
namespace {

/// A path that does not fit is cut by the system and then names no file with a description.
CUTF16String ExecutablePath() {
    wchar_t units[kMaxClassicPath];
    const DWORD length = GetModuleFileNameW(nullptr, units, static_cast<DWORD>(kMaxClassicPath));
    return CUTF16String(Units(units), length);
}

/// The description in the version resource of `path`; nothing if any step to it fails.
std::optional<CUTF16String> Description(const CUTF16String& path) {
    const DWORD size = GetFileVersionInfoSizeW(Wide(path), nullptr);
    std::vector<unsigned char> block(size);
    if (size == 0 || !GetFileVersionInfoW(Wide(path), 0, size, block.data()))
        return std::nullopt;

    void* list = nullptr;
    UINT bytes = 0;
    if (!VerQueryValueW(block.data(), L"\\VarFileInfo\\Translation", &list, &bytes))
        return std::nullopt;
    const VersionTranslation* translation = ChooseTranslation(
        {static_cast<const VersionTranslation*>(list), bytes / sizeof(VersionTranslation)},
        GetUserDefaultLangID());
    if (!translation)
        return std::nullopt;

    void* text = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(block.data(), Wide(DescriptionKey(*translation)), &text, &length))
        return std::nullopt;
    std::u16string_view description(static_cast<const char16_t*>(text), length);
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
