#pragma once

// One icon as editable 32-bit pixels, and the overlays that mark icons. An object owns its bitmaps
// and pixels and belongs to one thread, or is const; the overlays are shared by all threads, and
// the module holds those asked for last until it is unloaded. Nothing here throws: what fails is an
// empty object or a null icon, and the caller keeps the icon it had.

#include <cstdint>
#include <memory>
#include <vector>

#include "common/system/os/owners_win32.h"

namespace tarnwell {

class CAlphaIcon {
public:
    /// The longest side of an icon, in pixels: far above what the explorer shows, and far from
    /// overflow in sizes and strides.
    static constexpr std::uint32_t kMaxSide = 2048;

    /// CAlphaIcon loads the module's icon resource `resourceId` at `size` × `size` pixels. Empty on
    /// failure.
    CAlphaIcon(std::uint32_t resourceId, std::uint32_t size) noexcept;

    /// CAlphaIcon copies `icon`, which stays the caller's. Empty for null or on failure.
    explicit CAlphaIcon(HICON icon) noexcept;

    CAlphaIcon(const CAlphaIcon&) = delete;
    CAlphaIcon& operator=(const CAlphaIcon&) = delete;

    /// Init takes a copy of `icon`, which stays the caller's, in place of what the object held.
    /// Empty for null, for an icon in black and white, for one of more than 2,048 pixels a side
    /// and on failure.
    void Init(HICON icon) noexcept;

    /// GetOverlay gives the module's icon resource `resourceId` at `size` × `size` pixels, empty
    /// if it cannot be loaded; never null. It is shared with whoever asks for the same, and must
    /// not outlive the module.
    static std::shared_ptr<const CAlphaIcon> GetOverlay(std::uint16_t resourceId,
                                                        std::uint32_t size) noexcept;

    /// ApplyOverlay blends `overlay` over this object, which keeps the result, and makes an icon
    /// of it. The overlay is not scaled and lies at the top left corner. Null if either object is
    /// empty, and on failure.
    CUniqueIcon ApplyOverlay(const CAlphaIcon& overlay) noexcept;

    /// IsEmpty tells whether there is no picture.
    bool IsEmpty() const noexcept { return m_pixels.empty(); }

    /// IsResource tells whether the object was loaded from that resource at that size.
    bool IsResource(std::uint32_t resourceId, std::uint32_t size) const noexcept {
        return m_resourceId == resourceId && m_size == size;
    }

    /// Width and Height are in pixels, 0 for an empty object.
    std::int32_t Width() const noexcept { return m_width; }
    std::int32_t Height() const noexcept { return m_height; }

private:
    void Clear() noexcept;
    bool TakeBitmaps(HICON icon) noexcept;
    bool ReadPixels();
    bool AlphaFromMask(HDC dc);
    bool CombineMask(HDC dc, const CAlphaIcon& overlay) noexcept;

    ICONINFO m_info{};  // names the two bitmaps; what the system makes an icon of
    CUniqueBitmap m_colour;
    CUniqueBitmap m_mask;
    std::int32_t m_width = 0;
    std::int32_t m_height = 0;
    std::uint32_t m_resourceId;  // all bits set where an icon was wrapped
    std::uint32_t m_size;        // as requested, or the width of the wrapped icon
    std::vector<std::uint8_t> m_pixels;
    bool m_hasAlpha = false;  // in the colour bitmap itself
};

}  // namespace tarnwell
