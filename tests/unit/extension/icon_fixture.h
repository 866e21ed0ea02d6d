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

/// The pixels of an icon, row by row; empty for no icon.
using Picture = std::vector<std::uint32_t>;

inline Picture PictureOf(HICON icon) {
    ICONINFO info = {};
    if (!GetIconInfo(icon, &info))
        return {};
    const CUniqueBitmap colour(info.hbmColor), mask(info.hbmMask);
    BITMAP shape = {};
    GetObjectW(colour.Get(), sizeof shape, &shape);
    Picture pixels(static_cast<std::size_t>(shape.bmWidth * shape.bmHeight));
    GetBitmapBits(colour.Get(), static_cast<LONG>(4 * pixels.size()), pixels.data());
    return pixels;
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
