#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <map>
#include <span>

#include "icon_fixture.h"
#include "tarnwell/win32/resources/resource_ids.h"

namespace tarnwell::test {
namespace {

constexpr int kSizes[] = {256, 48, 32, 24, 16};
constexpr std::uint16_t kKinds[] = {TARNWELL_ICON_SIGNED, TARNWELL_ICON_ENCRYPTED,
                                    TARNWELL_ICON_SIGNED_ENCRYPTED, TARNWELL_ICON_OTHER};
constexpr std::uint16_t kVerdicts[] = {TARNWELL_ICON_VALID, TARNWELL_ICON_INVALID};

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

/// The picture that is loaded at that size; empty if it is none of that size.
Picture Loaded(std::uint16_t id, int size) {
    const IconImage image = ImageOf(IconOf(nullptr, id, size).Get());
    if (image.size.cx != size || image.size.cy != size)
        return {};
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < image.colours.size(); ++i) {
        const std::uint32_t alpha = image.colours[i] >> 24;
        // The largest is a PNG, whose mask the system makes; Wine hides all that is not opaque.
        const bool mayHide = alpha == 0 || (size == 256 && alpha < 255);
        wrong += image.mask[i] != 0 ? !mayHide : alpha == 0;
    }
    EXPECT_EQ(wrong, 0u) << "the mask hides what shows, or shows what is transparent";
    return image.colours;
}

/// How light the pixel is on a grey ground, 0 to 255.
int Lightness(std::uint32_t pixel) {
    const int alpha = static_cast<int>(pixel >> 24);
    const int colour = static_cast<int>(
        (299 * (pixel >> 16 & 255) + 587 * (pixel >> 8 & 255) + 114 * (pixel & 255)) / 1000);
    return (colour * alpha + 128 * (255 - alpha)) / 255;
}

/// Which part of a picture is told apart from the other by lightness alone, in thousandths.
std::size_t Difference(const Picture& one, const Picture& other) {
    std::size_t differing = 0;
    for (std::size_t i = 0; i < one.size() && i < other.size(); ++i)
        differing += std::abs(Lightness(one[i]) - Lightness(other[i])) > 64;
    return differing * 1000 / std::max<std::size_t>(one.size(), 1);
}

using Pictures = std::map<std::uint16_t, Picture>;

/// Loads the pictures and looks where each one shows anything at all.
Pictures LoadedInCorner(std::span<const std::uint16_t> ids, int size, bool left) {
    Pictures pictures;
    for (const std::uint16_t id : ids) {
        SCOPED_TRACE(id);
        EXPECT_THAT(SizesOf(id), testing::UnorderedElementsAreArray(kSizes));
        Picture pixels = Loaded(id, size);
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
}  // namespace tarnwell::test
