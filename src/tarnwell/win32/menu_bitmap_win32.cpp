#include "tarnwell/win32/menu_bitmap.h"

#include <vector>

#include "common/system/os/exclusive_lock_win32.h"
#include "common/system/os/owners_win32.h"
#include "tarnwell/win32/module.h"
// Windows last.
#include <commctrl.h>
#include <wincodec.h>
#include <wrl/client.h>

namespace tarnwell {
namespace {

using Microsoft::WRL::ComPtr;

// No picture in a menu is larger; it also keeps sizes and strides far from overflow.
constexpr UINT kMaxSide = 256;
constexpr UINT kPixelBytes = 4;

CUniqueIcon LoadSmallIcon(std::uint16_t icon) noexcept {
    // Without a module's handle this call would look among the system's icons.
    const HINSTANCE instance = Module().Instance();
    HICON loaded = nullptr;
    const HRESULT result = LoadIconMetric(instance ? instance : GetModuleHandleW(nullptr),
                                          MAKEINTRESOURCEW(icon), LIM_SMALL, &loaded);
    return CUniqueIcon(SUCCEEDED(result) ? loaded : nullptr);
}

ComPtr<IWICBitmap> PixelsOf(HICON icon) noexcept {
    ComPtr<IWICImagingFactory> factory;
    ComPtr<IWICBitmap> pixels;
    if (FAILED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                IID_IWICImagingFactory,
                                reinterpret_cast<void**>(factory.GetAddressOf()))) ||
        FAILED(factory->CreateBitmapFromHICON(icon, pixels.GetAddressOf())))
        return nullptr;
    return pixels;
}

/// NewDib makes the bitmap that the pixels are copied to; its memory belongs to the bitmap.
CUniqueBitmap NewDib(UINT width, UINT height, void** bits) noexcept {
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = static_cast<LONG>(width);
    info.bmiHeader.biHeight = -static_cast<LONG>(height);  // top-down
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 8 * kPixelBytes;
    info.bmiHeader.biCompression = BI_RGB;

    const HDC screen = GetDC(nullptr);
    CUniqueBitmap dib(CreateDIBSection(screen, &info, DIB_RGB_COLORS, bits, nullptr, 0));
    if (screen)
        ReleaseDC(nullptr, screen);
    return dib;
}

CUniqueBitmap MakeBitmap(std::uint16_t icon) noexcept {
    const CUniqueIcon loaded = LoadSmallIcon(icon);
    if (!loaded)
        return {};
    const ComPtr<IWICBitmap> pixels = PixelsOf(loaded.Get());
    UINT width = 0;
    UINT height = 0;
    if (!pixels || FAILED(pixels->GetSize(&width, &height)) || width == 0 || height == 0 ||
        width > kMaxSide || height > kMaxSide)
        return {};

    void* bits = nullptr;
    CUniqueBitmap dib = NewDib(width, height, &bits);
    const UINT stride = width * kPixelBytes;
    if (!dib ||
        FAILED(pixels->CopyPixels(nullptr, stride, stride * height, static_cast<BYTE*>(bits))))
        return {};
    return dib;
}

/// The module's pictures. The lock is held while one is made: two windows that show their first
/// menu at the same time must not make it twice.
class CMenuBitmaps {
public:
    HBITMAP Get(std::uint16_t icon) {
        const CExclusiveHold hold(m_lock);
        const int size = GetSystemMetrics(SM_CXSMICON);
        for (const Entry& entry : m_entries) {
            if (entry.icon == icon && entry.size == size)
                return entry.bitmap.Get();
        }
        CUniqueBitmap made = MakeBitmap(icon);
        if (!made)
            return nullptr;
        m_entries.push_back({icon, size, std::move(made)});
        return m_entries.back().bitmap.Get();
    }

private:
    struct Entry {
        std::uint16_t icon;
        int size;  // pixels; it changes with the resolution that the system is set to
        CUniqueBitmap bitmap;
    };

    CExclusiveLock m_lock;
    std::vector<Entry> m_entries;
};

}  // namespace

HBITMAP MenuBitmap(std::uint16_t icon) noexcept {
    // Deleted at unload, when no handler is left; deleting a bitmap is safe under the loader lock.
    static CMenuBitmaps bitmaps;
    try {
        return bitmaps.Get(icon);
    } catch (...) {  // without memory for the entry the item is shown without its picture
        return nullptr;
    }
}

}  // namespace tarnwell
