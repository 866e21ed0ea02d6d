#include "tarnwell/win32/menu_bitmap.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <stdexcept>
#include <vector>

#include "common/system/os/owners_win32.h"
// Windows last.
#include <objbase.h>

namespace tarnwell {
namespace {

constexpr std::uint16_t kIcons[] = {205, 206, 207};

class MenuBitmapTest : public testing::Test {
protected:
    MenuBitmapTest() { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    ~MenuBitmapTest() override { CoUninitialize(); }
};

/// The pixels from the top left on, alpha in the highest byte.
std::vector<std::uint32_t> PixelsOf(HBITMAP bitmap) {
    DIBSECTION dib = {};
    if (GetObjectW(bitmap, sizeof dib, &dib) != sizeof dib)
        throw std::runtime_error("there is no DIB section");
    EXPECT_EQ(dib.dsBm.bmWidth, 16);
    EXPECT_EQ(dib.dsBm.bmHeight, 16);
    EXPECT_EQ(dib.dsBm.bmBitsPixel, 32);
    EXPECT_EQ(dib.dsBmih.biCompression, DWORD{BI_RGB});
    GdiFlush();
    const auto* pixels = static_cast<const std::uint32_t*>(dib.dsBm.bmBits);
    return {pixels, pixels + 16 * 16};
}

TEST_F(MenuBitmapTest, PicturesAreOpaqueOrTransparentAndNoTwoAreAlike) {
    std::set<std::vector<std::uint32_t>> seen;
    for (const std::uint16_t icon : kIcons) {
        const std::vector<std::uint32_t> pixels = PixelsOf(MenuBitmap(icon));
        int opaque = 0;
        for (const std::uint32_t pixel : pixels) {
            // Menus add the colour of transparent pixels to what is below, so it must be black.
            EXPECT_TRUE(pixel == 0 || pixel >> 24 == 255) << std::hex << pixel;
            opaque += pixel >> 24 == 255;
        }
        EXPECT_GT(opaque, 60) << icon;
        EXPECT_LT(opaque, 230) << icon;
        seen.insert(pixels);
    }
    EXPECT_EQ(seen.size(), std::size(kIcons));
}

TEST_F(MenuBitmapTest, ARightSideUpPictureIsTheIconsOwn) {
    for (const std::uint16_t icon : kIcons) {
        const CUniqueIcon loaded(static_cast<HICON>(
            LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(icon), IMAGE_ICON, 16, 16, 0)));
        ASSERT_TRUE(loaded);
        const HDC dc = CreateCompatibleDC(nullptr);
        const std::vector<std::uint32_t> pixels = PixelsOf(MenuBitmap(icon));
        BITMAPINFO info = {{sizeof(BITMAPINFOHEADER), 16, -16, 1, 32, BI_RGB, 0, 0, 0, 0, 0}, {}};
        void* bits = nullptr;
        const CUniqueBitmap drawn(CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
        const HGDIOBJ before = SelectObject(dc, drawn.Get());
        DrawIconEx(dc, 0, 0, loaded.Get(), 16, 16, 0, nullptr, DI_NORMAL);
        GdiFlush();
        for (int i = 0; i < 16 * 16; ++i) {
            const std::uint32_t shown = static_cast<const std::uint32_t*>(bits)[i] & 0xFFFFFF;
            EXPECT_EQ(pixels[static_cast<std::size_t>(i)] & 0xFFFFFF, shown) << icon << " " << i;
        }
        SelectObject(dc, before);
        DeleteDC(dc);
    }
}

TEST_F(MenuBitmapTest, AllMenusShareOnePicture) {
    EXPECT_EQ(MenuBitmap(205), MenuBitmap(205));
    EXPECT_NE(MenuBitmap(205), MenuBitmap(206));
}

TEST_F(MenuBitmapTest, AMissingIconHasNoPicture) {
    EXPECT_EQ(MenuBitmap(9999), nullptr);
}

}  // namespace
}  // namespace tarnwell
