#include "shellprobe/view/file_icons.h"

#include <exception>

#include "shellprobe/icon_host.h"
// Windows last.
#include <commctrl.h>
#include <commoncontrols.h>
#include <shellapi.h>

namespace tarnwell::shellprobe {
namespace {

constexpr IID kImageListId = {  // commoncontrols.h
    0x46EB5926,
    0x582E,
    0x4017,
    {0x9F, 0xDF, 0xE8, 0x99, 0x8D, 0xAA, 0x09, 0x50}};

/// One picture of the system's own list of that size.
CUniqueIcon FromSystemList(int size, int index) {
    Microsoft::WRL::ComPtr<IImageList> list;
    HICON icon = nullptr;
    if (SUCCEEDED(
            SHGetImageList(size, kImageListId, reinterpret_cast<void**>(list.GetAddressOf()))))
        list->GetIcon(index, ILD_TRANSPARENT, &icon);
    return CUniqueIcon(icon);
}

FileIcons OfSystem(const wchar_t* file, UINT moreFlags) {
    SHFILEINFOW info = {};
    if (SHGetFileInfoW(file, FILE_ATTRIBUTE_NORMAL, &info, sizeof info,
                       SHGFI_SYSICONINDEX | moreFlags) == 0)
        return {};
    return {FromSystemList(SHIL_EXTRALARGE, info.iIcon), FromSystemList(SHIL_SMALL, info.iIcon)};
}

HandlerIcons Ask(const std::wstring& file, EHaste haste) {
    std::optional<CIconHost> host = CIconHost::Find(file);
    if (!host)
        return {};
    HandlerIcons answer;
    const IconLocation location =
        host->Locate(GIL_FORSHELL | (haste == EHaste::kNow ? GIL_ASYNC : 0U));
    answer.result = location.result;
    if (location.result != S_OK)
        return answer;
    ExtractedIcons extracted = host->Extract(location, kLargeIcon, kSmallIcon);
    answer.icons = {std::move(extracted.large), std::move(extracted.small)};
    answer.result = extracted.result == S_OK && !answer.icons ? E_FAIL : extracted.result;
    return answer;
}

}  // namespace

FileIcons SystemIcons(const std::wstring& file) {
    return OfSystem(file.c_str(), 0);
}

FileIcons GenericIcons() {
    // Of a name alone, and one that no program claims.
    return OfSystem(L"file", SHGFI_USEFILEATTRIBUTES);
}

HandlerIcons AskHandler(const std::wstring& file, EHaste haste) noexcept {
    try {
        return Ask(file, haste);
    } catch (const std::exception&) {
        HandlerIcons failed;
        failed.result = E_FAIL;
        return failed;
    }
}

}  // namespace tarnwell::shellprobe
