#include "tarnwell/core/alpha_blend.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

namespace tarnwell {
namespace {

using Pixels = std::vector<std::uint8_t>;

/// The quotient t / 255 to the nearest integer; a tie cannot be, since 255 is odd.
std::int64_t Rounded(std::int64_t t) {
    return (2 * t + 255) / 510;
}

using Pixel = std::array<std::int64_t, 4>;

Pixel Blended(const Pixel& over, const Pixel& under) {
    if (over[3] == 0)
        return under;
    const std::int64_t alpha = Rounded((255 - over[3]) * under[3]) + over[3];
    Pixel result{0, 0, 0, alpha};
    for (std::size_t i = 0; i < 3; ++i)
        result[i] =
            (Rounded(over[3] * over[i]) + Rounded(Rounded(under[i] * under[3]) * (255 - over[3]))) *
            255 / alpha;
    return result;
}

Pixel At(const Pixels& pixels, std::size_t index) {
    const std::uint8_t* pixel = &pixels[index * kPixelBytes];
    return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

TEST(BlendOver, GivesEveryPairOfAlphasItsExactPixel) {
    constexpr std::uint8_t kColours[][6] = {{0, 0, 0, 255, 255, 255},
                                            {255, 255, 255, 0, 0, 0},
                                            {1, 127, 254, 254, 128, 1},
                                            {90, 200, 33, 91, 17, 180},
                                            {255, 255, 255, 255, 255, 255}};
    for (const auto& c : kColours) {
        Pixels over, under;
        for (int pair = 0; pair < 256 * 256; ++pair) {
            over.insert(over.end(), {c[0], c[1], c[2], static_cast<std::uint8_t>(pair >> 8)});
            under.insert(under.end(), {c[3], c[4], c[5], static_cast<std::uint8_t>(pair)});
        }
        Pixels blended = under;
        BlendOver({256, 256, over}, {256, 256, blended});
        for (std::size_t pair = 0; pair < 256 * 256; ++pair)
            ASSERT_EQ(At(blended, pair), Blended(At(over, pair), At(under, pair))) << pair;
    }
}

TEST(BlendOver, CutsAtTheSmallerSizeAndKeepsNeighboursOfEveryKind) {
    struct Size {
        std::uint32_t width, height;
    };
    const Size sizes[] = {{1, 1}, {3, 2}, {4, 4}, {16, 3}, {23, 5}, {35, 7}, {64, 2}};
    std::uint32_t state = 7;
    const auto next = [&] { return static_cast<std::uint8_t>((state = state * 69069 + 1) >> 24); };
    for (const Size o : sizes)
        for (const Size p : sizes) {
            Pixels over(o.width * o.height * kPixelBytes), under(p.width * p.height * kPixelBytes);
            for (std::uint8_t& byte : over)
                byte = next();
            for (std::size_t i = 3; i < over.size(); i += kPixelBytes)
                if (const int kind = next() % 4; kind > 0)
                    over[i] = kind == 1 ? 255 : 0;
            for (std::uint8_t& byte : under)
                byte = next();
            Pixels blended = under;
            BlendOver({o.width, o.height, over}, {p.width, p.height, blended});
            for (std::uint32_t y = 0; y < p.height; ++y)
                for (std::uint32_t x = 0; x < p.width; ++x) {
                    const Pixel before = At(under, y * p.width + x);
                    const bool covered = x < o.width && y < o.height;
                    ASSERT_EQ(At(blended, y * p.width + x),
                              covered ? Blended(At(over, y * o.width + x), before) : before)
                        << o.width << " over " << p.width << " at " << x << ", " << y;
                }
        }
}

TEST(BlendOver, LeavesAViewAloneThatIsShorterThanItsSize) {
    const Pixels over(4 * kPixelBytes, 255);
    for (const std::uint32_t side : {3u, 0x10000u, 0xFFFFFFFFu}) {
        Pixels under(4 * kPixelBytes, 7);
        BlendOver({side, side, over}, {2, 2, under});
        BlendOver({2, 2, over}, {side, side, under});
        EXPECT_EQ(under, Pixels(4 * kPixelBytes, 7)) << side;
    }
}

}  // namespace
}  // namespace tarnwell
