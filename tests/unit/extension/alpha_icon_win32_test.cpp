#include "tarnwell/win32/alpha_icon.h"

#include "common/system/os/process_counts.h"
#include "icon_fixture.h"
#include "support/heap_checks.h"
#include "support/trace_listener.h"

namespace tarnwell::test {
namespace {

/// MakeIcon makes an icon of `side` × `side` pixels; side is even.
CUniqueIcon MakeIcon(int side, const Picture& colours, const Mask& mask) {
    const std::size_t rowBytes = (static_cast<std::size_t>(side) + 15) / 16 * 2;
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
    for (const int side : {2, 8}) {
        const std::size_t area = static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
        const CUniqueIcon icon = MakeIcon(4, Picture(16, 0xFFFFFFFF), Mask(16, 1));
        const CUniqueIcon over = MakeIcon(side, Picture(area, 0xFF000000), Mask(area, 0));
        CAlphaIcon picture(icon.Get());
        EXPECT_EQ(picture.Width(), 4);
        const IconImage seen = ImageOf(picture.ApplyOverlay(CAlphaIcon(over.Get())).Get());
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
    const CUniqueIcon white = MakeIcon(2, Picture(4, 0xFFFFFFFF), Mask(4, 0));
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

TEST(CAlphaIcon, GetsEveryOverlayInTheSizeItIsAskedForAndTracesEachAsNew) {
    for (const WORD id : std::initializer_list<WORD>{208, 209, 210, 211, 212, 218})
        for (const std::uint32_t size : {16u, 24u, 32u, 48u, 256u, 257u}) {
            CTraceListener trace;
            const auto overlay = CAlphaIcon::GetOverlay(id, size);
            EXPECT_EQ(overlay->Width(), static_cast<std::int32_t>(size)) << id;
            const std::vector<std::string> lines = {
                "enter CAlphaIcon::GetOverlay", "Creating new icon",
                "enter CAlphaIcon::CAlphaIcon", "enter CAlphaIcon::Init",
                "leave CAlphaIcon::Init",       "leave CAlphaIcon::CAlphaIcon",
                "leave CAlphaIcon::GetOverlay"};
            EXPECT_EQ(trace.Lines(), lines);
            trace.Clear();
            EXPECT_EQ(CAlphaIcon::GetOverlay(id, size) == overlay, size <= 256);
            EXPECT_EQ(trace.Lines(), lines) << "the second time";
        }
}

TEST(CAlphaIcon, HoldsNoMoreAfterManyOverlaysOfEverySizeThanAfterAHundred) {
    if (UnderHeapChecks())
        GTEST_SKIP() << "a checked heap keeps released blocks for a while";
    const CUniqueIcon icon = MakeIcon(16, Picture(256, 0xFFFFFFFF), Mask(256, 0));
    const auto rounds = [&](int count) {
        for (int i = 0; i < count; ++i) {
            const auto held = CAlphaIcon::GetOverlay(210, 16);
            for (const std::uint32_t side : {1 + i % 50, 257})
                CAlphaIcon::GetOverlay(static_cast<std::uint16_t>(208 + i % 5), side);
            CAlphaIcon::GetOverlay(9999, 16);
            CAlphaIcon picture(icon.Get());
            ASSERT_TRUE(picture.ApplyOverlay(*held)) << "however many came after it";
        }
        CountProcess();  // its own tables count as warm-up too
    };
    rounds(100);
    const ProcessCounts before = CountProcess();
    rounds(200);
    const ProcessCounts after = CountProcess();
    EXPECT_EQ(after.gdiObjects, before.gdiObjects);
    EXPECT_EQ(after.heapBlocks, before.heapBlocks);
    EXPECT_EQ(after.handles, before.handles);
}

}  // namespace
}  // namespace tarnwell::test
