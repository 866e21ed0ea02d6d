#include "tarnwell/core/alpha_blend.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

namespace tarnwell {
namespace {

// Four pixels are worked on at once: as 32-bit words, or as lanes of 16 bits that hold one channel
// each, blue and red of every pixel in one set of lanes ("even"), green and alpha in another
// ("odd"). No intermediate value needs more than the 16 bits of its lane. All is inline: a call
// would cost more than what it is for.
using Words [[gnu::vector_size(16)]] = std::uint32_t;
using Lanes [[gnu::vector_size(16)]] = std::uint16_t;
using Longs [[gnu::vector_size(16)]] = std::uint64_t;
using LaneArray = std::array<std::uint16_t, 8>;

constexpr std::size_t kGroup = 4;   // pixels
constexpr std::size_t kBlock = 16;  // pixels, looked at before they are worked on
constexpr std::uint32_t kAlphaBits = 0xFF000000;
constexpr unsigned kAlphaShift = 24;
constexpr std::uint32_t kGreenLanes = 0x0000FFFF;             // of a pixel's odd channels
constexpr std::uint64_t kAlphaLanes = 0x00FF'0000'00FF'0000;  // of two, both opaque

inline Words Load(const std::uint8_t* pixels) noexcept {
    Words words;
    std::memcpy(&words, pixels, sizeof words);
    return words;
}

inline void Store(std::uint8_t* pixels, Words words) noexcept {
    std::memcpy(pixels, &words, sizeof words);
}

inline bool AllClear(Words pixels) noexcept {
    const auto alphas = std::bit_cast<Longs>(pixels & kAlphaBits);
    return (alphas[0] | alphas[1]) == 0;
}

inline bool AllOpaque(Words pixels) noexcept {
    return AllClear(~pixels);
}

/// InBothHalves repeats the low 16 bits of every word in its high ones, which must be 0.
inline Lanes InBothHalves(Words words) noexcept {
    return std::bit_cast<Lanes>(words | words << 16);
}

/// MultiplyHigh gives x × y >> 16 in every lane. Compilers know the loop as one instruction.
inline Lanes MultiplyHigh(Lanes x, Lanes y) noexcept {
    auto product = std::bit_cast<LaneArray>(x);
    const auto factor = std::bit_cast<LaneArray>(y);
    for (std::size_t i = 0; i < product.size(); ++i)
        product[i] = static_cast<std::uint16_t>((std::uint32_t{product[i]} * factor[i]) >> 16);
    return std::bit_cast<Lanes>(product);
}

/// DivideBy255 rounds: with u = t + 128 it gives (u + (u >> 8)) >> 8, which is 257 u >> 16, for
/// t = 0 … 255 × 255 in every lane.
inline Lanes DivideBy255(Lanes t) noexcept {
    return MultiplyHigh(t + 128, Lanes{} + 257);
}

/// Laid gives the premultiplied channel of `over` laid on `under`.
inline Lanes Laid(Lanes over, Lanes overAlpha, Lanes under, Lanes underAlpha) noexcept {
    return DivideBy255(overAlpha * over) +
           DivideBy255(DivideBy255(under * underAlpha) * (255 - overAlpha));
}

/// x × 255 / A, rounded down, is (factor × x) >> 16 with factor = 255 × 65536 / A, rounded up, for
/// all x = 0 … A: the factor is too large by less than 1, so the product by less than 65536 / A.
/// A factor of 24 bits does not fit a lane: its high bits, for both lanes of a pixel, are the low
/// word here, its low bits the high word.
constexpr auto kUnmultiply = [] {
    std::array<std::uint64_t, 256> factors{};
    for (std::uint32_t alpha = 1; alpha < factors.size(); ++alpha) {
        constexpr std::uint64_t kBothHalves = 0x1'0001;
        const std::uint32_t factor = ((255u << 16) + alpha - 1) / alpha;
        factors[alpha] = kBothHalves * (factor >> 16) | kBothHalves * (factor & 0xFFFF) << 32;
    }
    return factors;
}();

/// Unmultiply divides the colours by the alphas in every fourth lane of `greenAlpha`, which stay.
inline void Unmultiply(Lanes& blueRed, Lanes& greenAlpha) noexcept {
    const auto pairs = std::bit_cast<Longs>(greenAlpha);
    const auto alpha = [&](int pair, unsigned shift) { return pairs[pair] >> shift & 0xFF; };
    if ((pairs[0] & pairs[1] & kAlphaLanes) == kAlphaLanes)
        return;  // opaque: x × 255 / 255
    const auto left =
        std::bit_cast<Words>(Longs{kUnmultiply[alpha(0, 16)], kUnmultiply[alpha(0, 48)]});
    const auto right =
        std::bit_cast<Words>(Longs{kUnmultiply[alpha(1, 16)], kUnmultiply[alpha(1, 48)]});
    const auto high = std::bit_cast<Lanes>(__builtin_shufflevector(left, right, 0, 2, 4, 6));
    const auto low = std::bit_cast<Lanes>(__builtin_shufflevector(left, right, 1, 3, 5, 7));
    blueRed = blueRed * high + MultiplyHigh(blueRed, low);
    const Lanes green = greenAlpha * high + MultiplyHigh(greenAlpha, low);
    greenAlpha = std::bit_cast<Lanes>((std::bit_cast<Words>(green) & kGreenLanes) |
                                      (std::bit_cast<Words>(greenAlpha) & ~kGreenLanes));
}

inline Words Blended(Words over, Words under) noexcept {
    const Lanes overAlpha = InBothHalves(over >> kAlphaShift);
    const Lanes underAlpha = InBothHalves(under >> kAlphaShift);
    const auto even = [](Words pixels) { return std::bit_cast<Lanes>(pixels) & 0xFF; };
    // With 255 in the alpha lane the arithmetic of the colours gives the blended alpha there.
    const auto odd = [](Words pixels) { return std::bit_cast<Lanes>(pixels | kAlphaBits) >> 8; };

    Lanes blueRed = Laid(even(over), overAlpha, even(under), underAlpha);
    Lanes greenAlpha = Laid(odd(over), overAlpha, odd(under), underAlpha);
    Unmultiply(blueRed, greenAlpha);
    const auto blended = std::bit_cast<Words>(blueRed | greenAlpha << 8);
    return over >> kAlphaShift == 0 ? under : blended;
}

inline void BlendGroup(const std::uint8_t* over, std::uint8_t* under) noexcept {
    const Words pixels = Load(over);
    if (AllOpaque(pixels))
        Store(under, pixels);
    else if (!AllClear(pixels))
        Store(under, Blended(pixels, Load(under)));
}

/// IsClearBlock is all that most blocks of an overlay need.
inline bool IsClearBlock(const std::uint8_t* over) noexcept {
    Words any{};
    for (std::size_t i = 0; i < kBlock; i += kGroup)
        any |= Load(over + i * kPixelBytes);
    return AllClear(any);
}

inline bool IsOpaqueBlock(const std::uint8_t* over) noexcept {
    Words all = ~Words{};
    for (std::size_t i = 0; i < kBlock; i += kGroup)
        all &= Load(over + i * kPixelBytes);
    return AllOpaque(all);
}

inline void BlendBlock(const std::uint8_t* over, std::uint8_t* under) noexcept {
    if (IsClearBlock(over))
        return;
    if (IsOpaqueBlock(over)) {
        std::memcpy(under, over, kBlock * kPixelBytes);
        return;
    }
    for (std::size_t i = 0; i < kBlock * kPixelBytes; i += kGroup * kPixelBytes)
        BlendGroup(over + i, under + i);
}

/// BlendRest takes less than a group; clear pixels fill it up.
void BlendRest(const std::uint8_t* over, std::uint8_t* under, std::size_t bytes) noexcept {
    std::array<std::uint8_t, kGroup * kPixelBytes> overGroup{};
    std::array<std::uint8_t, kGroup * kPixelBytes> underGroup{};
    std::memcpy(overGroup.data(), over, bytes);
    std::memcpy(underGroup.data(), under, bytes);
    BlendGroup(overGroup.data(), underGroup.data());
    std::memcpy(under, underGroup.data(), bytes);
}

void BlendRow(const std::uint8_t* over, std::uint8_t* under, std::size_t bytes) noexcept {
    std::size_t i = 0;
    for (; i + kBlock * kPixelBytes <= bytes; i += kBlock * kPixelBytes)
        BlendBlock(over + i, under + i);
    for (; i + kGroup * kPixelBytes <= bytes; i += kGroup * kPixelBytes)
        BlendGroup(over + i, under + i);
    if (i < bytes)
        BlendRest(over + i, under + i, bytes - i);
}

}  // namespace

void BlendOver(PixelView<const std::uint8_t> overlay, PixelView<std::uint8_t> picture) noexcept {
    if (!overlay.IsWhole() || !picture.IsWhole())
        return;
    const std::size_t width = std::min(overlay.width, picture.width);
    const std::size_t height = std::min(overlay.height, picture.height);
    for (std::size_t y = 0; y < height; ++y)
        BlendRow(overlay.bytes.data() + y * overlay.width * kPixelBytes,
                 picture.bytes.data() + y * picture.width * kPixelBytes, width * kPixelBytes);
}

}  // namespace tarnwell
