#include "tarnwell/win32/menu_bitmap.h"

#include <algorithm>

#include "icon_fixture.h"

namespace tarnwell::test {
namespace {

TEST(MenuBitmap, IsTheUprightIconWithEveryPixelOpaqueOrClear) {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    for (const std::uint16_t icon : std::initializer_list<std::uint16_t>{205, 206, 207}) {
        const Picture pixels = PixelsOf(MenuBitmap(icon), {16, 16});
        EXPECT_EQ(pixels, PictureOf(IconOf(nullptr, icon, 16).Get())) << icon;
        // Menus add the colour of transparent pixels to what is below, so it must be black.
        EXPECT_TRUE(std::ranges::all_of(pixels, [](std::uint32_t pixel) {
            return pixel == 0 || pixel >> 24 == 255;
        })) << icon;
        const auto opaque = pixels.size() - std::ranges::count(pixels, 0u);
        EXPECT_TRUE(opaque > 60 && opaque < 230) << opaque;
        EXPECT_EQ(MenuBitmap(icon), MenuBitmap(icon)) << "all menus share one picture";
    }
    EXPECT_EQ(MenuBitmap(9999), nullptr);
    CoUninitialize();
}

}  // namespace
}  // namespace tarnwell::test
