#include "tarnwell/win32/alpha_icon.h"

#include "icon_fixture.h"
#include "support/process_growth.h"

namespace tarnwell::test {
namespace {

/// MakeIcon makes an icon of `side` × `side` pixels; side is even.
CUniqueIcon MakeIcon(int side, const Picture& colours, const Mask& mask) {
    const auto width = static_cast<std::size_t>(side);
    std::vector<std::uint8_t> bits(MaskRowBytes(width) * width);
    for (std::size_t i = 0; i < mask.size(); ++i)
        bits[i / width * MaskRowBytes(width) + i % width / 8] |=
            static_cast<std::uint8_t>(mask[i] << (7 - i % width % 8));
    const CUniqueBitmap colour(CreateBitmap(side, side, 1, 32, colours.data()));
    const CUniqueBitmap transparent(CreateBitmap(side, side, 1, 1, bits.data()));
    ICONINFO info{TRUE, 0, 0, transparent.Get(), colour.Get()};
    return CUniqueIcon(CreateIconIndirect(&info));
}

/// Plain makes an icon of one colour, opaque or transparent by its mask alone.
CUniqueIcon Plain(int side, std::uint32_t colour, std::uint8_t isClear) {
    const auto length = static_cast<std::size_t>(side);
    return MakeIcon(side, Picture(length * length, colour), Mask(length * length, isClear));
}

constexpr std::uint32_t kWhite = 0xFFFFFF;  // opaque only through the mask
constexpr std::uint32_t kHalfBlack = 0x80000000;
constexpr std::uint32_t kHalfBlackOnWhite = 0xFF7F7F7F;

TEST(CAlphaIcon, TakesItsAlphaFromTheMaskAndKeepsWhatIsTransparentInBoth) {
    // Two columns of the picture and two rows of the overlay are transparent.
    const CUniqueIcon icon = MakeIcon(4, Picture(16, kWhite),
                                      {1, 1, 0, 0, 1, 1, 0, 0,  //
                                       1, 1, 0, 0, 1, 1, 0, 0});
    Picture over(16, 0);
    std::fill_n(over.begin(), 8, kHalfBlack);
    over[3] = 0xFF123456;
    const CUniqueIcon marked = MakeIcon(4, over,
                                        {0, 0, 0, 0, 0, 0, 0, 0,  //
                                         1, 1, 1, 1, 1, 1, 1, 1});
    CAlphaIcon picture(icon.Get());
    const CUniqueIcon result = picture.ApplyOverlay(CAlphaIcon(marked.Get()));
    ASSERT_TRUE(result);
    const IconImage seen = ImageOf(result.Get());
    constexpr std::uint32_t kClear = kWhite;
    EXPECT_EQ(seen.colours, (Picture{kHalfBlack, kHalfBlack, kHalfBlackOnWhite, 0xFF123456,  //
                                     kHalfBlack, kHalfBlack, kHalfBlackOnWhite, kHalfBlackOnWhite,
                                     kClear, kClear, 0xFFFFFFFF, 0xFFFFFFFF,  //
                                     kClear, kClear, 0xFFFFFFFF, 0xFFFFFFFF}));
    EXPECT_EQ(seen.mask, (Mask{0, 0, 0, 0, 0, 0, 0, 0,  //
                               1, 1, 0, 0, 1, 1, 0, 0}));

    const Picture again = PictureOf(picture.ApplyOverlay(CAlphaIcon(marked.Get())).Get());
    EXPECT_EQ(again[2], 0xFF3F3F3Fu) << "the object keeps the blended result";
}

TEST(CAlphaIcon, LaysAnOverlayOfAnotherSizeAtTheTopLeftCorner) {
    const CUniqueIcon icon = Plain(4, 0xFFFFFFFF, 1);
    for (const int side : {2, 8}) {
        const CUniqueIcon over = Plain(side, 0xFF000000, 0);
        const IconImage seen =
            ImageOf(CAlphaIcon(icon.Get()).ApplyOverlay(CAlphaIcon(over.Get())).Get());
        for (std::size_t i = 0; i < 16; ++i) {
            const bool covered = i % 4 < std::size_t(side) && i / 4 < std::size_t(side);
            EXPECT_EQ(seen.colours.at(i), covered ? 0xFF000000 : 0xFFFFFFFF) << side << " " << i;
            EXPECT_EQ(seen.mask.at(i), covered ? 0 : 1) << side << " " << i;
        }
    }
}

TEST(CAlphaIcon, IsEmptyAndGivesNoIconWhereThereIsNoPicture) {
    const std::uint8_t twice[8]{};  // in black and white: both pictures are in the mask
    const CUniqueBitmap mask(CreateBitmap(2, 4, 1, 1, twice));
    ICONINFO info{TRUE, 0, 0, mask.Get(), nullptr};
    const CUniqueIcon blackAndWhite(CreateIconIndirect(&info));
    ASSERT_TRUE(blackAndWhite);
    const CUniqueIcon white = Plain(2, kWhite, 0);
    CAlphaIcon whole(white.Get());
    for (const HICON icon : {HICON{}, blackAndWhite.Get(), HICON(0x123456)}) {
        CAlphaIcon empty(icon);
        EXPECT_EQ(empty.Width() + empty.Height(), 0);
        EXPECT_FALSE(empty.ApplyOverlay(whole));
        EXPECT_FALSE(whole.ApplyOverlay(empty));
    }
    EXPECT_TRUE(CAlphaIcon::GetOverlay(9999, 16)->IsEmpty());
    EXPECT_TRUE(CAlphaIcon::GetOverlay(210, 0x80000000)->IsEmpty());
    whole.Init(nullptr);
    EXPECT_TRUE(whole.IsEmpty());
}

TEST(CAlphaIcon, HoldsOverlaysOfUpTo256PixelsAndTracesEachAsNew) {
    for (const std::uint32_t size : {16u, 256u, 257u}) {
        const auto overlay = CAlphaIcon::GetOverlay(210, size);
        EXPECT_EQ(overlay->Width(), static_cast<std::int32_t>(size));
        const CTraceListener trace;
        EXPECT_EQ(CAlphaIcon::GetOverlay(210, size) == overlay, size <= 256);
        const Strings lines = {"enter CAlphaIcon::GetOverlay", "Creating new icon",
                               "enter CAlphaIcon::CAlphaIcon", "enter CAlphaIcon::Init",
                               "leave CAlphaIcon::Init",       "leave CAlphaIcon::CAlphaIcon",
                               "leave CAlphaIcon::GetOverlay"};
        EXPECT_EQ(trace.Lines(), lines) << size;
    }
}

TEST(CAlphaIcon, HoldsALimitedNumberOfOverlaysAndTheseAsLongAsTheyAreUsed) {
    const CUniqueIcon icon = Plain(16, kWhite, 0);
    std::uint32_t size = 16;
    ExpectNoGrowth(3, 20, [&] {
        const auto held = CAlphaIcon::GetOverlay(210, ++size);  // one that nobody asked for yet
        for (std::uint16_t other = 0; other < 60; ++other)
            CAlphaIcon::GetOverlay(static_cast<std::uint16_t>(208 + other % 5), 1 + other / 5);
        CAlphaIcon::GetOverlay(210, 257);
        CAlphaIcon::GetOverlay(9999, 16);
        EXPECT_TRUE(CAlphaIcon(icon.Get()).ApplyOverlay(*held)) << "however many came after it";
    });
}

}  // namespace
}  // namespace tarnwell::test
