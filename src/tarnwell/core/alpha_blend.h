#pragma once

// Laying one picture over another with alpha blending: the arithmetic behind the icons' overlays.
// Pure functions over views that own nothing; any thread may call.

#include <cstdint>
#include <span>

namespace tarnwell {

inline constexpr std::uint32_t kPixelBytes = 4;

/// A picture of 32-bit pixels: rows from the top down without padding, each pixel blue, green,
/// red, alpha (straight, not premultiplied).
template <class Byte>
struct PixelView {
    std::uint32_t width = 0;  ///< pixels
    std::uint32_t height = 0;
    std::span<Byte> bytes;

    /// IsWhole tells whether there are as many bytes as the size asks for.
    bool IsWhole() const noexcept {
        return bytes.size() / kPixelBytes >= std::uint64_t{width} * height;
    }
};

/// BlendOver lays `overlay` over `picture`, top left corner on top left corner, not scaled; what
/// lies outside the picture is cut off. A view with fewer bytes than its size needs is not
/// touched, nor is anything blended from it.
void BlendOver(PixelView<const std::uint8_t> overlay, PixelView<std::uint8_t> picture) noexcept;

}  // namespace tarnwell
