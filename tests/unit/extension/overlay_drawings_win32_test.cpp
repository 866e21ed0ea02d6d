#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <map>
#include <span>
#include <utility>
#include <vector>

#include "common/system/os/owners_win32.h"
#include "tarnwell/win32/resources/resource_ids.h"

namespace tarnwell {
namespace {

constexpr int kSizes[] = {256, 48, 32, 24, 16};
constexpr std::uint16_t kKinds[] = {TARNWELL_ICON_SIGNED, TARNWELL_ICON_ENCRYPTED,
                                    TARNWELL_ICON_SIGNED_ENCRYPTED, TARNWELL_ICON_OTHER};
constexpr std::uint16_t kVerdicts[] = {TARNWELL_ICON_VALID, TARNWELL_ICON_INVALID};

using Pixels = std::vector<std::uint32_t>;  // from the top left on, alpha in the highest byte

/// The sizes in the icon's directory, those of 32 bits only.
std::vector<int> SizesOf(std::uint16_t id) {
    const HRSRC found =
        FindResourceW(nullptr, MAKEINTRESOURCEW(id), MAKEINTRESOURCEW(14));  // RT_GROUP_ICON
    const HGLOBAL loaded = found != nullptr ? LoadResource(nullptr, found) : nullptr;
    if (loaded == nullptr)
        return {};
    const auto* bytes = static_cast<const std::uint8_t*>(LockResource(loaded));
    std::vector<int> sizes;
    for (int i = 0; i < bytes[4]; ++i) {
        const std::uint8_t* entry = bytes + 6 + 14 * i;
        if (entry[0] == entry[1] && entry[6] == 32)
            sizes.push_back(entry[0] == 0 ? 256 : entry[0]);
    }
    return sizes;
}

/// The picture that LoadImageW finds; empty if it is none of that size.
Pixels Loaded(std::uint16_t id, int size) {
    const CUniqueIcon icon(static_cast<HICON>(
        LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id), IMAGE_ICON, size, size, 0)));
    ICONINFO info{};
    if (!icon || !GetIconInfo(icon.Get(), &info))
        return {};
    const CUniqueBitmap colour(info.hbmColor), mask(info.hbmMask);
    BITMAP shape{};
    GetObjectW(colour.Get(), sizeof shape, &shape);
    if (shape.bmWidth != size || shape.bmHeight != size || shape.bmBitsPixel != 32)
        return {};
    const auto count = static_cast<std::size_t>(size) * static_cast<std::size_t>(size);
    Pixels pixels(count);
    GetBitmapBits(colour.Get(), static_cast<LONG>(4 * count), pixels.data());
    const auto stride = static_cast<std::size_t>((size + 15) / 16 * 2);
    std::vector<std::uint8_t> bits(stride * static_cast<std::size_t>(size));
    GetBitmapBits(mask.Get(), static_cast<LONG>(bits.size()), bits.data());
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t x = i % static_cast<std::size_t>(size);
        const std::size_t y = i / static_cast<std::size_t>(size);
        const bool hidden = (bits[y * stride + x / 8] >> (7 - x % 8) & 1) != 0;
        const std::uint32_t alpha = pixels[i] >> 24;
        // The largest is a PNG, whose mask the system makes; Wine hides all that is not opaque.
        const bool mayHide = alpha == 0 || (size == 256 && alpha < 255);
        wrong += hidden ? !mayHide : alpha == 0;
    }
    EXPECT_EQ(wrong, 0u) << "the mask hides what shows, or shows what is transparent";
    return pixels;
}

/// How light the pixel is on a grey ground, 0 to 255.
int Lightness(std::uint32_t pixel) {
    const int alpha = static_cast<int>(pixel >> 24);
    const int colour = static_cast<int>(
        (299 * (pixel >> 16 & 255) + 587 * (pixel >> 8 & 255) + 114 * (pixel & 255)) / 1000);
    return (colour * alpha + 128 * (255 - alpha)) / 255;
}

/// Which part of a picture is told apart from the other by lightness alone, in thousandths.
std::size_t Difference(const Pixels& one, const Pixels& other) {
    std::size_t differing = 0;
    for (std::size_t i = 0; i < one.size() && i < other.size(); ++i)
        differing += std::abs(Lightness(one[i]) - Lightness(other[i])) > 64;
    return differing * 1000 / std::max<std::size_t>(one.size(), 1);
}

using Pictures = std::map<std::uint16_t, Pixels>;

/// Loads the pictures and looks where each one shows anything at all.
Pictures LoadedInCorner(std::span<const std::uint16_t> ids, int size, bool left) {
    Pictures pictures;
    for (const std::uint16_t id : ids) {
        SCOPED_TRACE(id);
        EXPECT_THAT(SizesOf(id), testing::UnorderedElementsAreArray(kSizes));
        Pixels pixels = Loaded(id, size);
        int first = size, last = -1, top = size, bottom = -1, opaque = 0;
        for (int i = 0; i < static_cast<int>(pixels.size()); ++i) {
            const std::uint32_t alpha = pixels[static_cast<std::size_t>(i)] >> 24;
            opaque += alpha == 255;
            if (alpha == 0)
                continue;
            first = std::min(first, i % size);
            last = std::max(last, i % size);
            top = std::min(top, i / size);
            bottom = std::max(bottom, i / size);
        }
        // Halves that never meet: a verdict fits beside any kind.
        EXPECT_TRUE(left ? first == 0 && last < size / 2 : first >= size / 2 && last == size - 1)
            << first << " to " << last;
        // Two glyphs have no room beside each other in eight pixels, so they are stacked.
        const bool stacked = size == 16 && id == TARNWELL_ICON_SIGNED_ENCRYPTED;
        EXPECT_TRUE(top >= (stacked ? 2 : size / 2) && bottom == size - 1)
            << top << " to " << bottom;
        EXPECT_GT(opaque, size * size / 10) << "hardly anything is drawn";
        pictures.emplace(id, std::move(pixels));
    }
    return pictures;
}

void ExpectDistinct(const Pictures& pictures) {
    for (auto one = pictures.begin(); one != pictures.end(); ++one)
        for (auto other = std::next(one); other != pictures.end(); ++other)
            EXPECT_GE(Difference(one->second, other->second), 20u)
                << one->first << " and " << other->first << " look alike without colour";
}

TEST(OverlayDrawings, EachSizeMarksItsOwnLowerCornerAndIsUnmistakableWithoutColour) {
    for (const int size : kSizes) {
        SCOPED_TRACE(size);
        ExpectDistinct(LoadedInCorner(kKinds, size, true));
        ExpectDistinct(LoadedInCorner(kVerdicts, size, false));
    }
}

}  // namespace
}  // namespace tarnwell
