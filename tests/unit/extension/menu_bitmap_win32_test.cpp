#include "tarnwell/win32/menu_bitmap.h"

#include <algorithm>
#include <set>
#include <tuple>

#include "icon_fixture.h"

namespace tarnwell::test {
namespace {

Picture PixelsOf(HBITMAP bitmap) {
    BITMAP shape{};
    GetObjectW(bitmap, sizeof shape, &shape);
    EXPECT_EQ(std::tuple(shape.bmWidth, shape.bmHeight, shape.bmBitsPixel), std::tuple(16, 16, 32));
    Picture pixels(16 * 16);
    EXPECT_EQ(GetBitmapBits(bitmap, 1024, pixels.data()), 1024);
    return pixels;
}

/// What the system draws of the icon on black, its alpha left out.
Picture Drawn(std::uint16_t icon) {
    const CUniqueBitmap bitmap(CreateBitmap(16, 16, 1, 32, Picture(16 * 16).data()));
    {
        const CUniqueDc dc(CreateCompatibleDC(nullptr));
        const CSelectObject selected(dc.Get(), bitmap.Get());
        EXPECT_TRUE(DrawIconEx(dc.Get(), 0, 0, IconOf(nullptr, icon, 16).Get(), 16, 16, 0, nullptr,
                               DI_NORMAL));
    }
    Picture pixels = PixelsOf(bitmap.Get());
    for (std::uint32_t& pixel : pixels)
        pixel &= 0xFFFFFF;
    return pixels;
}

TEST(MenuBitmap, IsTheUprightIconWithEveryPixelOpaqueOrClear) {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    std::set<Picture> seen;
    for (const std::uint16_t icon : std::vector<std::uint16_t>{205, 206, 207}) {
        SCOPED_TRACE(icon);
        Picture pixels = PixelsOf(MenuBitmap(icon));
        EXPECT_EQ(MenuBitmap(icon), MenuBitmap(icon)) << "all menus share one picture";
        const auto opaque = std::ranges::count_if(pixels, [](auto pixel) { return pixel >> 24; });
        EXPECT_TRUE(opaque > 60 && opaque < 230) << opaque;
        for (std::uint32_t& pixel : pixels) {
            // Menus add the colour of transparent pixels to what is below, so it must be black.
            EXPECT_TRUE(pixel == 0 || pixel >> 24 == 255) << std::hex << pixel;
            pixel &= 0xFFFFFF;
        }
        EXPECT_EQ(pixels, Drawn(icon));
        seen.insert(pixels);
    }
    EXPECT_EQ(seen.size(), 3u);
    EXPECT_EQ(MenuBitmap(9999), nullptr);
    CoUninitialize();
}

}  // namespace
}  // namespace tarnwell::test
