#pragma once

// What the tests of registration and of icons share: a key in place of HKEY_CLASSES_ROOT, and the
// means to tell whose picture an icon shows.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/system/os/owners_win32.h"
#include "common/system/os/settings_win32.h"
#include "common/system/text/convert.h"

namespace tarnwell::test {

/// A key of the test's own, removed with all below it.
class CScratchClasses {
public:
    ~CScratchClasses() { Remove(); }
    HKEY Root() const { return m_root.Get(); }
    void Remove() const { RegDeleteTreeW(HKEY_CURRENT_USER, Wide(m_name)); }

private:
    const CUTF16String m_name =
        Utf16FromUtf8(("Software\\TarnwellTest" + std::to_string(GetCurrentProcessId())).c_str());
    const CSettingsKey m_root = CSettingsKey::Create(HKEY_CURRENT_USER, m_name);
};

/// Pixels row by row, alpha in the highest byte.
using Picture = std::vector<std::uint32_t>;
/// A byte for each pixel, 1 where it is transparent.
using Mask = std::vector<std::uint8_t>;

/// What an icon shows, and what its mask hides; all empty for no icon.
struct IconImage {
    SIZE size{};
    Picture colours;
    Mask mask;
};

inline IconImage ImageOf(HICON icon) {
    ICONINFO info = {};
    if (!GetIconInfo(icon, &info))
        return {};
    const CUniqueBitmap colour(info.hbmColor), mask(info.hbmMask);
    BITMAP shape = {};
    GetObjectW(colour.Get(), sizeof shape, &shape);
    const auto width = static_cast<std::size_t>(shape.bmWidth);
    const auto height = static_cast<std::size_t>(shape.bmHeight);
    IconImage image{{shape.bmWidth, shape.bmHeight}, Picture(width * height), {}};
    GetBitmapBits(colour.Get(), static_cast<LONG>(4 * width * height), image.colours.data());
    const std::size_t rowBytes = (width + 15) / 16 * 2;
    Mask bits(rowBytes * height);
    GetBitmapBits(mask.Get(), static_cast<LONG>(bits.size()), bits.data());
    for (std::size_t i = 0; i < width * height; ++i) {
        const std::size_t x = i % width;
        image.mask.push_back(bits[i / width * rowBytes + x / 8] >> (7 - x % 8) & 1);
    }
    return image;
}

inline Picture PictureOf(HICON icon) {
    return ImageOf(icon).colours;
}

/// IconOf loads an icon resource of `module`, of this program where it is null.
inline CUniqueIcon IconOf(HINSTANCE module, WORD resource, int size) {
    return CUniqueIcon(
        static_cast<HICON>(LoadImageW(module ? module : GetModuleHandleW(nullptr),
                                      MAKEINTRESOURCEW(resource), IMAGE_ICON, size, size, 0)));
}

/// ProgramPath is the file that holds the icons 205 to 212 and 218, in this order.
inline CUTF16String ProgramPath() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    return CUTF16String(Units(path));
}

}  // namespace tarnwell::test
