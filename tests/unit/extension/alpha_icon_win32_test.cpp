#include "tarnwell/win32/alpha_icon.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "common/system/os/process_counts.h"
#include "support/trace_listener.h"

namespace tarnwell {
namespace {

using Pixels = std::vector<std::uint32_t>;  // from the top left on, alpha in the highest byte
using Mask = std::vector<std::uint8_t>;     // a byte for each pixel, 1 where it is transparent

/// MakeIcon makes an icon of `side` × `side` pixels; side is even.
CUniqueIcon MakeIcon(int side, const Pixels& colours, const Mask& mask) {
    const auto rowBytes = static_cast<std::size_t>((side + 15) / 16 * 2);
    std::vector<std::uint8_t> bits(rowBytes * static_cast<std::size_t>(side));
    for (std::size_t i = 0; i < mask.size(); ++i) {
        const std::size_t x = i % static_cast<std::size_t>(side);
        bits[i / static_cast<std::size_t>(side) * rowBytes + x / 8] |=
            static_cast<std::uint8_t>(mask[i] << (7 - x % 8));
    }
    const CUniqueBitmap colour(CreateBitmap(side, side, 1, 32, colours.data()));
    const CUniqueBitmap transparent(CreateBitmap(side, side, 1, 1, bits.data()));
    ICONINFO info{TRUE, 0, 0, transparent.Get(), colour.Get()};
    return CUniqueIcon(CreateIconIndirect(&info));
}

Pixels Bits(HBITMAP bitmap, int side, WORD bitsPerPixel) {
    struct {
        BITMAPINFOHEADER header;
        RGBQUAD black, white;
    } info{{sizeof(BITMAPINFOHEADER), side, -side, 1, bitsPerPixel, BI_RGB, 0, 0, 0, 0, 0}, {}, {}};
    Pixels pixels(static_cast<std::size_t>(side * side));
    const CUniqueDc dc(CreateCompatibleDC(nullptr));
    EXPECT_EQ(GetDIBits(dc.Get(), bitmap, 0, static_cast<UINT>(side), pixels.data(),
                        reinterpret_cast<BITMAPINFO*>(&info), DIB_RGB_COLORS),
              side);
    return pixels;
}

/// What an icon shows and, a word a row, what its mask hides.
struct Picture {
    Pixels colours;
    Pixels maskRows;
};

Picture Read(HICON icon, int side) {
    ICONINFO info{};
    EXPECT_TRUE(GetIconInfo(icon, &info));
    const CUniqueBitmap colour(info.hbmColor), mask(info.hbmMask);
    Picture picture{Bits(colour.Get(), side, 32), Bits(mask.Get(), side, 1)};
    picture.maskRows.resize(static_cast<std::size_t>(side));
    return picture;
}

constexpr std::uint32_t kWhite = 0xFFFFFF;  // opaque only through the mask
constexpr std::uint32_t kHalfBlack = 0x80000000;
constexpr std::uint32_t kHalfBlackOnWhite = 0xFF7F7F7F;

TEST(CAlphaIcon, TakesItsAlphaFromTheMaskAndKeepsWhatIsTransparentInBoth) {
    // Two columns of the picture and two rows of the overlay are transparent.
    const CUniqueIcon icon = MakeIcon(4, Pixels(16, kWhite),
                                      {1, 1, 0, 0, 1, 1, 0, 0,  //
                                       1, 1, 0, 0, 1, 1, 0, 0});
    Pixels over(16, 0);
    std::fill_n(over.begin(), 8, kHalfBlack);
    over[3] = 0xFF123456;
    const CUniqueIcon marked = MakeIcon(4, over,
                                        {0, 0, 0, 0, 0, 0, 0, 0,  //
                                         1, 1, 1, 1, 1, 1, 1, 1});
    CAlphaIcon picture(icon.Get());
    const CUniqueIcon result = picture.ApplyOverlay(CAlphaIcon(marked.Get()));
    ASSERT_TRUE(result);
    const Picture seen = Read(result.Get(), 4);
    constexpr std::uint32_t kClear = kWhite;
    EXPECT_EQ(seen.colours, (Pixels{kHalfBlack, kHalfBlack, kHalfBlackOnWhite, 0xFF123456,  //
                                    kHalfBlack, kHalfBlack, kHalfBlackOnWhite, kHalfBlackOnWhite,
                                    kClear, kClear, 0xFFFFFFFF, 0xFFFFFFFF,  //
                                    kClear, kClear, 0xFFFFFFFF, 0xFFFFFFFF}));
    // The leftmost pixel is the highest bit of a row's first byte.
    EXPECT_EQ(seen.maskRows, (Pixels{0, 0, 0xC0, 0xC0}));

    const Picture again = Read(picture.ApplyOverlay(CAlphaIcon(marked.Get())).Get(), 4);
    EXPECT_EQ(again.colours[2], 0xFF3F3F3Fu) << "the object keeps the blended result";
}

TEST(CAlphaIcon, LaysAnOverlayOfAnotherSizeAtTheTopLeftCorner) {
    for (const int side : {2, 8}) {
        const auto area = static_cast<std::size_t>(side * side);
        const CUniqueIcon icon = MakeIcon(4, Pixels(16, 0xFFFFFFFF), Mask(16, 1));
        const CUniqueIcon over = MakeIcon(side, Pixels(area, 0xFF000000), Mask(area, 0));
        CAlphaIcon picture(icon.Get());
        EXPECT_EQ(picture.Width(), 4);
        const Picture seen = Read(picture.ApplyOverlay(CAlphaIcon(over.Get())).Get(), 4);
        for (int i = 0; i < 16; ++i)
            EXPECT_EQ(seen.colours[static_cast<std::size_t>(i)],
                      i % 4 < side && i / 4 < side ? 0xFF000000 : 0xFFFFFFFF)
                << side << " at " << i;
        const Pixels rows = side == 2 ? Pixels{0x30, 0x30, 0xF0, 0xF0} : Pixels(4, 0);
        EXPECT_EQ(seen.maskRows, rows) << side;
    }
}

TEST(CAlphaIcon, IsEmptyAndGivesNoIconWhereThereIsNoPicture) {
    const std::uint8_t twice[8]{};  // in black and white: both pictures are in the mask
    const CUniqueBitmap mask(CreateBitmap(2, 4, 1, 1, twice));
    ICONINFO info{TRUE, 0, 0, mask.Get(), nullptr};
    const CUniqueIcon blackAndWhite(CreateIconIndirect(&info));
    ASSERT_TRUE(blackAndWhite);
    const CUniqueIcon white = MakeIcon(2, Pixels(4, 0xFFFFFFFF), Mask(4, 0));
    CAlphaIcon whole(white.Get());
    for (const HICON icon : {HICON{}, blackAndWhite.Get(), HICON(0x123456)}) {
        CAlphaIcon empty(icon);
        EXPECT_EQ(empty.Width() + empty.Height(), 0);
        EXPECT_FALSE(empty.ApplyOverlay(whole));
        EXPECT_FALSE(whole.ApplyOverlay(empty));
    }
    EXPECT_TRUE(CAlphaIcon::GetOverlay(9999, 16).IsEmpty());
    EXPECT_TRUE(CAlphaIcon::GetOverlay(210, 0x80000000).IsEmpty());
    whole.Init(nullptr);
    EXPECT_TRUE(whole.IsEmpty());
}

TEST(CAlphaIcon, GetsEveryOverlayInTheSizeItIsAskedForAndSaysSo) {
    const test::CTraceListener trace;
    for (const int id : {208, 209, 210, 211, 212, 218})
        for (const std::uint32_t size : {16u, 24u, 32u, 48u, 256u})
            EXPECT_EQ(CAlphaIcon::GetOverlay(static_cast<std::uint16_t>(id), size).Width(),
                      static_cast<std::int32_t>(size))
                << id;
    EXPECT_EQ(trace.Messages(), std::vector<std::string>(30, "Creating new icon"));
    EXPECT_EQ(trace.Count("enter CAlphaIcon::GetOverlay"), 30u);
}

TEST(CAlphaIcon, HoldsNoMoreAfterThousandsOfOverlaysThanAfterAHundred) {
    const CUniqueIcon icon = MakeIcon(16, Pixels(256, 0xFFFFFFFF), Mask(256, 0));
    const auto rounds = [&](int count) {
        for (int i = 0; i < count; ++i) {
            CAlphaIcon::GetOverlay(static_cast<std::uint16_t>(208 + i % 5), 32);
            CAlphaIcon::GetOverlay(9999, 16);
            CAlphaIcon picture(icon.Get());
            ASSERT_TRUE(picture.ApplyOverlay(CAlphaIcon::GetOverlay(210, 16)));
        }
        CountProcess();  // its own tables count as warm-up too
    };
    rounds(100);
    const ProcessCounts before = CountProcess();
    rounds(2000);
    const ProcessCounts after = CountProcess();
    EXPECT_EQ(after.gdiObjects, before.gdiObjects);
    EXPECT_EQ(after.heapBlocks, before.heapBlocks);
    EXPECT_EQ(after.handles, before.handles);
}

}  // namespace
}  // namespace tarnwell
