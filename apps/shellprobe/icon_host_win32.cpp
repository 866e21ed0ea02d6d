#include "shellprobe/icon_host.h"

#include "shellprobe/handler.h"
#include "shellprobe/shell_ids.h"
#include "shellprobe/shell_object.h"

namespace tarnwell::shellprobe {

std::optional<CIconHost> CIconHost::Find(const std::wstring& file) {
    CIconHost host;
    if (!FindFileHandler(file, L"IconHandler", kExtractIconId,
                         reinterpret_cast<void**>(host.m_handler.GetAddressOf())))
        return std::nullopt;
    return host;
}

CIconHost CIconHost::FromShell(const std::wstring& file) {
    CIconHost host;
    ShellObject(file, kExtractIconId, reinterpret_cast<void**>(host.m_handler.GetAddressOf()));
    return host;
}

IconLocation CIconHost::Locate(UINT flags) {
    wchar_t file[MAX_PATH] = {};
    IconLocation location;
    location.result =
        m_handler->GetIconLocation(flags, file, MAX_PATH, &location.index, &location.flags);
    file[MAX_PATH - 1] = L'\0';
    location.file = file;
    return location;
}

ExtractedIcons CIconHost::Extract(const IconLocation& location, WORD largeSize, WORD smallSize) {
    ExtractedIcons icons;
    icons.result = m_handler->Extract(location.file.c_str(), static_cast<UINT>(location.index),
                                      largeSize ? icons.large.Put() : nullptr,
                                      smallSize ? icons.small.Put() : nullptr,
                                      static_cast<UINT>(MAKELONG(largeSize, smallSize)));
    return icons;
}

std::optional<SIZE> SizeOf(const CUniqueIcon& icon) {
    ICONINFO info = {};
    if (!icon || !GetIconInfo(icon.Get(), &info))
        return std::nullopt;
    const CUniqueBitmap mask(info.hbmMask);
    const CUniqueBitmap color(info.hbmColor);
    BITMAP bitmap = {};
    if (GetObjectW(color ? color.Get() : mask.Get(), sizeof bitmap, &bitmap) == 0)
        return std::nullopt;
    // Without a picture of its own, the mask holds both, one above the other.
    return SIZE{bitmap.bmWidth, color ? bitmap.bmHeight : bitmap.bmHeight / 2};
}

}  // namespace tarnwell::shellprobe
