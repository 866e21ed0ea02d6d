#include "tarnwell/core/alpha_blend.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

namespace tarnwell {
namespace {

// An overlay is clear nearly everywhere and opaque nearly everywhere else, so it is looked at in
// blocks, and only a block on an edge is blended pixel by pixel.
constexpr std::uint32_t kBlock = 16;  // pixels
constexpr std::uint32_t kAlphaShift = 24;
constexpr std::uint32_t kAlphaBits = 0xFFu << kAlphaShift;

std::uint32_t Load(const std::uint8_t* pixel) noexcept {
    std::uint32_t value = 0;
    std::memcpy(&value, pixel, sizeof value);
    return value;
}

// The four channels of a pixel are worked on at once, each in 16 bits of a 64-bit word: blue, red,
// green, alpha from the lowest bits up. No intermediate value needs more than its 16 bits.
using Lanes = std::uint64_t;
constexpr Lanes kLaneBytes = 0x00FF'00FF'00FF'00FF;
constexpr Lanes kHalves = 0x0080'0080'0080'0080;

Lanes Spread(std::uint32_t pixel) noexcept {
    constexpr std::uint32_t kEveryOther = 0x00FF'00FF;
    return (pixel & kEveryOther) | Lanes{(pixel >> 8) & kEveryOther} << 32;
}

/// DivideBy255 rounds: (t + 128 + ((t + 128) >> 8)) >> 8 for t = 0 … 255 × 255 in every lane.
Lanes DivideBy255(Lanes lanes) noexcept {
    const Lanes rounded = lanes + kHalves;
    return ((rounded + (rounded >> 8 & kLaneBytes)) >> 8) & kLaneBytes;
}

/// kUnmultiply[A] × x >> 16 is x × 255 / A, rounded down, for all x = 0 … A: the factor is too
/// large by less than 1, so the product by less than 65536 / A.
constexpr auto kUnmultiply = [] {
    std::array<std::uint32_t, 256> factors{};
    for (std::uint32_t alpha = 1; alpha < factors.size(); ++alpha)
        factors[alpha] = ((255u << 16) + alpha - 1) / alpha;
    return factors;
}();

std::uint32_t Blended(std::uint32_t over, std::uint32_t under) noexcept {
    const std::uint32_t overAlpha = over >> kAlphaShift;
    // With 255 for a channel, the premultiplied channel is the alpha itself: the alpha lane then
    // gives the blended alpha with the arithmetic of the colours.
    const Lanes premultiplied = DivideBy255(Spread(under | kAlphaBits) * (under >> kAlphaShift));
    const Lanes sum = DivideBy255(Spread(over | kAlphaBits) * overAlpha) +
                      DivideBy255(premultiplied * (255 - overAlpha));
    const auto alpha = static_cast<std::uint32_t>(sum >> 48);
    const std::uint32_t factor = kUnmultiply[alpha];
    const auto colour = [&](unsigned lane) {
        return (static_cast<std::uint32_t>(sum >> lane & 0xFF) * factor) >> 16;
    };
    return colour(0) | colour(32) << 8 | colour(16) << 16 | alpha << kAlphaShift;
}

void BlendPixels(const std::uint8_t* over, std::uint8_t* under, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count * kPixelBytes; i += kPixelBytes) {
        const std::uint32_t pixel = Load(over + i);
        const std::uint32_t alpha = pixel & kAlphaBits;
        if (alpha == 0)
            continue;
        const std::uint32_t result = alpha == kAlphaBits ? pixel : Blended(pixel, Load(under + i));
        std::memcpy(under + i, &result, sizeof result);
    }
}

void BlendBlock(const std::uint8_t* over, std::uint8_t* under) noexcept {
    std::uint32_t any = 0;
    std::uint32_t all = kAlphaBits;
    for (std::uint32_t i = 0; i < kBlock; ++i) {
        const std::uint32_t pixel = Load(over + i * kPixelBytes);
        any |= pixel;
        all &= pixel;
    }
    if ((any & kAlphaBits) == 0)
        return;
    if (all == kAlphaBits)
        std::memcpy(under, over, kBlock * kPixelBytes);
    else
        BlendPixels(over, under, kBlock);
}

}  // namespace

void BlendOver(PixelView<const std::uint8_t> overlay, PixelView<std::uint8_t> picture) noexcept {
    if (!overlay.IsWhole() || !picture.IsWhole())
        return;
    const std::size_t width = std::min(overlay.width, picture.width);
    const std::size_t height = std::min(overlay.height, picture.height);
    for (std::size_t y = 0; y < height; ++y) {
        const std::uint8_t* over = overlay.bytes.data() + y * overlay.width * kPixelBytes;
        std::uint8_t* under = picture.bytes.data() + y * picture.width * kPixelBytes;
        std::size_t x = 0;
        for (; x + kBlock <= width; x += kBlock)
            BlendBlock(over + x * kPixelBytes, under + x * kPixelBytes);
        BlendPixels(over + x * kPixelBytes, under + x * kPixelBytes, width - x);
    }
}

}  // namespace tarnwell
