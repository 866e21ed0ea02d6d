#include "manager/core/output_name.h"

#include <algorithm>
#include <array>

#include "common/system/text/convert.h"

namespace tarnwell::manager {
namespace {

std::size_t NameStart(std::u16string_view path) {
    const std::size_t slash = path.find_last_of(u"\\/");
    return slash == std::u16string_view::npos ? 0 : slash + 1;
}

/// The place of the dot before the extension; the end of the path where there is no extension.
std::size_t ExtensionStart(std::u16string_view path) {
    const std::size_t dot = path.rfind(u'.');
    return dot == std::u16string_view::npos || dot <= NameStart(path) ? path.size() : dot;
}

std::u16string LowerAscii(std::u16string_view text) {
    std::u16string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char16_t unit) {
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
    });
    return lower;
}

/// IsDeviceName tells whether Windows takes the name for a device, whatever its extension.
bool IsDeviceName(std::u16string_view name) {
    std::u16string stem = LowerAscii(name.substr(0, name.find(u'.')));
    stem.erase(stem.find_last_not_of(u' ') + 1);
    constexpr std::array<std::u16string_view, 6> kDevices = {u"con", u"prn",    u"aux",
                                                             u"nul", u"conin$", u"conout$"};
    if (std::find(kDevices.begin(), kDevices.end(), stem) != kDevices.end())
        return true;
    const bool isPort = stem.starts_with(u"com") || stem.starts_with(u"lpt");
    return isPort && stem.size() == 4 && stem[3] >= u'0' && stem[3] <= u'9';
}

/// WithoutNumber takes back what NumberedPath did to a protected file's name: "report.pdf (2)",
/// which no program would open, is "report.pdf". "report (2)" may well be its own name.
std::u16string_view WithoutNumber(std::u16string_view path) {
    const std::size_t open = path.rfind(u" (");
    if (open == std::u16string_view::npos || !path.ends_with(u')'))
        return path;
    const std::u16string_view digits = path.substr(open + 2, path.size() - open - 3);
    const std::u16string_view before = path.substr(0, open);
    const bool isNumber =
        !digits.empty() && digits.find_first_not_of(u"0123456789") == std::u16string_view::npos;
    return isNumber && ExtensionStart(before) < before.size() ? before : path;
}

}  // namespace

std::u16string ProtectedPath(std::u16string_view path) {
    return std::u16string(path) + u".p7";
}

std::u16string RecoveredPath(std::u16string_view path) {
    const std::u16string_view cut = WithoutNumber(path.substr(0, ExtensionStart(path)));
    const std::u16string_view name = cut.substr(NameStart(cut));
    // Windows drops dots and blanks at a name's end: what is then opened is another file.
    const bool usable = cut.size() < path.size() && !IsDeviceName(name) && name.back() != u'.' &&
                        name.back() != u' ';
    return usable ? std::u16string(cut) : std::u16string(path) + u".content";
}

std::u16string NumberedPath(std::u16string_view path, unsigned n) {
    std::u16string numbered(path);
    if (n > 1) {
        std::u16string number = u" (";
        number.append(Utf16FromLatin1(std::to_string(n)).AsView()).append(u")");
        numbered.insert(ExtensionStart(path), number);
    }
    return numbered;
}

bool IsProgram(std::u16string_view path) {
    // What Windows runs, or interprets as commands of the one who opens it.
    static constexpr std::u16string_view kPrograms =  // each between blanks
        u" .appinstaller .application .appref-ms .appx .appxbundle .bat .bgi .chm .cmd .com"
        u" .cpl .diagcab .exe .gadget .hlp .hta .img .inf .ins .iso .isp .jar .jnlp .js .jse"
        u" .library-ms .lnk .mmc .msc .msi .msix .msixbundle .msp .mst .msu .pif .ps1 .ps1xml"
        u" .psc1 .psd1 .psm1 .py .pyw .pyz .pyzw .rdp .reg .scf .scr .sct .search-ms"
        u" .searchconnector-ms .settingcontent-ms .shb .shs .theme .url .vb .vbe .vbs .vhd"
        u" .vhdx .website .ws .wsc .wsf .wsh .xll ";
    // To Windows a name with its only dot in front is all extension: ".exe" runs.
    const std::u16string_view extension = path.substr(std::min(path.rfind(u'.'), path.size()));
    return kPrograms.find(u" " + LowerAscii(extension) + u" ") != std::u16string_view::npos;
}

}  // namespace tarnwell::manager
