#include "shellprobe/view/window_parts.h"

#include <array>

#include "shellprobe/output.h"
#include "shellprobe/view/screen_points.h"

namespace tarnwell::shellprobe {

HMENU MakeMenuBar() {
    const HMENU view = CreatePopupMenu();
    AppendMenuW(view, MF_STRING, kLargeCommand, L"&Large icons\tCtrl+1");
    AppendMenuW(view, MF_STRING, kSmallCommand, L"&Small icons\tCtrl+2");
    AppendMenuW(view, MF_STRING, kDetailsCommand, L"&Details\tCtrl+3");
    AppendMenuW(view, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(view, MF_STRING, kSelectAllCommand, L"Select &all\tCtrl+A");
    AppendMenuW(view, MF_STRING, kRefreshCommand, L"&Refresh\tF5");
    const HMENU bar = CreateMenu();
    AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(view), L"&View");
    return bar;
}

CUniqueAccelerators MakeAccelerators() {
    std::array keys = {ACCEL{FVIRTKEY | FCONTROL, '1', kLargeCommand},
                       ACCEL{FVIRTKEY | FCONTROL, '2', kSmallCommand},
                       ACCEL{FVIRTKEY | FCONTROL, '3', kDetailsCommand},
                       ACCEL{FVIRTKEY | FCONTROL, 'A', kSelectAllCommand},
                       ACCEL{FVIRTKEY, VK_F5, kRefreshCommand}};
    return CUniqueAccelerators(CreateAcceleratorTableW(keys.data(), static_cast<int>(keys.size())));
}

HFONT MakeMessageFont() {
    NONCLIENTMETRICSW metrics = {};
    metrics.cbSize = sizeof metrics;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    return CreateFontIndirectW(&metrics.lfMessageFont);
}

void TellListed(const CFileList& list, EViewMode mode) {
    constexpr std::array kModes = {"large", "small", "details"};
    CJsonArray names;
    for (const std::wstring& name : list.Names())
        names.AddRaw(Quoted(Utf8(name)));
    Print(CJsonObject()
              .AddRaw("listed", names.Text())
              .AddRaw("at", PointsJson(list.IconCentres()))
              .Add("mode", kModes[static_cast<std::size_t>(mode)])
              .Add("images", static_cast<std::uint64_t>(list.ImageCount())));
}

}  // namespace tarnwell::shellprobe
