#include "shellprobe/full_path.h"

#include "common/system/os/windows.h"

namespace tarnwell::shellprobe {

std::wstring FullPath(const CUTF16String& path) {
    std::wstring full(path.Length() + MAX_PATH, L'\0');
    for (;;) {
        const DWORD length =
            GetFullPathNameW(Wide(path), static_cast<DWORD>(full.size()), full.data(), nullptr);
        if (length == 0)
            return {Wide(path), path.Length()};
        const bool fits = length < full.size();
        full.resize(length);
        if (fits)
            return full;
    }
}

std::vector<std::wstring> FullPaths(const std::vector<CUTF16String>& paths) {
    std::vector<std::wstring> full;
    full.reserve(paths.size());
    for (const CUTF16String& path : paths)
        full.push_back(FullPath(path));
    return full;
}

}  // namespace tarnwell::shellprobe
