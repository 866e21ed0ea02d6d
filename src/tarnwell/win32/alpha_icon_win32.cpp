#include "tarnwell/win32/alpha_icon.h"

#include <algorithm>
#include <new>

#include "common/system/os/exclusive_lock_win32.h"
#include "common/system/trace/trace.h"
#include "tarnwell/core/alpha_blend.h"
#include "tarnwell/win32/module.h"

namespace tarnwell {
namespace {

constexpr std::uint32_t kNoResource = 0xFFFFFFFF;
constexpr std::size_t kAlpha = 3;  // behind blue, green and red
constexpr std::uint8_t kOpaque = 255;

/// A picture's description for the functions that copy device-independent bits, with room for the
/// two colours of a mask.
struct BitmapInfo {
    BITMAPINFOHEADER header{};
    RGBQUAD colours[2]{};

    BitmapInfo(std::int32_t width, std::int32_t height, WORD bitsPerPixel) noexcept {
        header.biSize = sizeof header;
        header.biWidth = width;
        header.biHeight = -height;  // from the top down
        header.biPlanes = 1;
        header.biBitCount = bitsPerPixel;
        header.biCompression = BI_RGB;
    }
    BITMAPINFO* Get() noexcept { return reinterpret_cast<BITMAPINFO*>(&header); }
};

bool GetBits(HDC dc, HBITMAP bitmap, BitmapInfo info, std::vector<std::uint8_t>& bits) noexcept {
    const auto rows = static_cast<UINT>(-info.header.biHeight);
    return GetDIBits(dc, bitmap, 0, rows, bits.data(), info.Get(), DIB_RGB_COLORS) ==
           static_cast<int>(rows);
}

CUniqueIcon LoadIconResource(std::uint32_t resourceId, std::uint32_t size) noexcept {
    if (resourceId > 0xFFFF || size > CAlphaIcon::kMaxSide)
        return {};
    // Without a module's handle this call would look among the system's icons.
    const HINSTANCE instance = Module().Instance();
    const auto side = static_cast<int>(size);
    return CUniqueIcon(static_cast<HICON>(
        LoadImageW(instance ? instance : GetModuleHandleW(nullptr),
                   MAKEINTRESOURCEW(static_cast<WORD>(resourceId)), IMAGE_ICON, side, side, 0)));
}

}  // namespace

CAlphaIcon::CAlphaIcon(std::uint32_t resourceId, std::uint32_t size) noexcept
    : m_resourceId(resourceId), m_size(size) {
    const CTraceScope scope("CAlphaIcon::CAlphaIcon");
    const CUniqueIcon icon = LoadIconResource(resourceId, size);
    Init(icon.Get());
}

CAlphaIcon::CAlphaIcon(HICON icon) noexcept : m_resourceId(kNoResource), m_size(0) {
    Init(icon);
    m_size = static_cast<std::uint32_t>(m_width);
}

void CAlphaIcon::Init(HICON icon) noexcept {
    const CTraceScope scope("CAlphaIcon::Init");
    Clear();
    try {
        if (!icon || !TakeBitmaps(icon) || !ReadPixels())
            Clear();
    } catch (const std::bad_alloc&) {  // for the pixels
        Clear();
    }
}

void CAlphaIcon::Clear() noexcept {
    m_info = {};
    m_colour.Reset();
    m_mask.Reset();
    m_width = 0;
    m_height = 0;
    m_pixels.clear();
    m_hasAlpha = false;
}

bool CAlphaIcon::TakeBitmaps(HICON icon) noexcept {
    if (!GetIconInfo(icon, &m_info))
        return false;
    m_colour.Reset(m_info.hbmColor);
    m_mask.Reset(m_info.hbmMask);
    BITMAP shape{};
    // An icon in black and white has both of its pictures in the mask, and no colour bitmap.
    if (!m_mask || !m_colour || !GetObjectW(m_colour.Get(), sizeof shape, &shape))
        return false;
    constexpr auto kMax = static_cast<LONG>(kMaxSide);
    if (shape.bmWidth < 1 || shape.bmHeight < 1 || shape.bmWidth > kMax || shape.bmHeight > kMax)
        return false;
    m_width = shape.bmWidth;
    m_height = shape.bmHeight;
    return true;
}

bool CAlphaIcon::ReadPixels() {
    const auto pixels = static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height);
    m_pixels.resize(pixels * kPixelBytes);
    const CUniqueDc dc(CreateCompatibleDC(nullptr));
    if (!dc || !GetBits(dc.Get(), m_colour.Get(), BitmapInfo(m_width, m_height, 32), m_pixels))
        return false;
    for (std::size_t i = kAlpha; i < m_pixels.size() && !m_hasAlpha; i += kPixelBytes)
        m_hasAlpha = m_pixels[i] != 0;
    return m_hasAlpha || AlphaFromMask(dc.Get());
}

bool CAlphaIcon::AlphaFromMask(HDC dc) {
    const auto width = static_cast<std::size_t>(m_width);
    const auto height = static_cast<std::size_t>(m_height);
    const std::size_t rowBytes = (width + 31) / 32 * 4;
    std::vector<std::uint8_t> mask(rowBytes * height);
    if (!GetBits(dc, m_mask.Get(), BitmapInfo(m_width, m_height, 1), mask))
        return false;
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width; ++x) {
            const bool clear = mask[y * rowBytes + x / 8] >> (7 - x % 8) & 1;
            m_pixels[(y * width + x) * kPixelBytes + kAlpha] = clear ? 0 : kOpaque;
        }
    return true;
}

CUniqueIcon CAlphaIcon::ApplyOverlay(const CAlphaIcon& overlay) noexcept {
    const CTraceScope scope("CAlphaIcon::ApplyOverlay");
    if (IsEmpty() || overlay.IsEmpty())
        return {};
    const auto view = []<class Byte>(const CAlphaIcon& icon, std::span<Byte> bytes) {
        return PixelView<Byte>{static_cast<std::uint32_t>(icon.m_width),
                               static_cast<std::uint32_t>(icon.m_height), bytes};
    };
    BlendOver(view(overlay, std::span(overlay.m_pixels)), view(*this, std::span(m_pixels)));

    const auto rows = static_cast<UINT>(m_height);
    BitmapInfo info(m_width, m_height, 32);
    const CUniqueDc dc(CreateCompatibleDC(nullptr));
    if (!dc || SetDIBits(dc.Get(), m_colour.Get(), 0, rows, m_pixels.data(), info.Get(),
                         DIB_RGB_COLORS) != m_height)
        return {};
    if (!CombineMask(dc.Get(), overlay))
        return {};
    return CUniqueIcon(CreateIconIndirect(&m_info));
}

bool CAlphaIcon::CombineMask(HDC dc, const CAlphaIcon& overlay) noexcept {
    // Threads share the overlays, and a bitmap can be selected into one device context at a time.
    static CExclusiveLock oneAtATime;
    const CExclusiveHold hold(oneAtATime);
    const CUniqueDc overlayDc(CreateCompatibleDC(nullptr));
    if (!overlayDc)
        return false;
    const CSelectObject under(dc, m_mask.Get());
    const CSelectObject over(overlayDc.Get(), overlay.m_mask.Get());
    return under && over &&
           BitBlt(dc, 0, 0, std::min(m_width, overlay.m_width),
                  std::min(m_height, overlay.m_height), overlayDc.Get(), 0, 0, SRCAND);
}

}  // namespace tarnwell
