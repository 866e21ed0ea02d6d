#include "tarnwell/win32/extract_icon.h"

#include <algorithm>
#include <exception>

#include "common/crypto/pkcs7_request.h"
#include "tarnwell/core/icon_model.h"
#include "tarnwell/win32/alpha_icon.h"
#include "tarnwell/win32/original_file_icon.h"
#include "tarnwell/win32/resources/resource_ids.h"
#include "tarnwell/win32/shellicon.h"

namespace tarnwell {
namespace {

/// The kind of the file at `path`; nothing if it cannot be read or is no PKCS#7 file at all, which
/// GetType alone would not tell from one of another kind.
std::optional<CPKCS7_TYPE> ReadType(const CUTF16String& path) {
    try {
        CPKCS7Request file(path);
        file->GetPKCS7();
        return file->GetType();
    } catch (const CPKCS7_ERROR&) {
    } catch (const std::exception&) {
    }
    TraceString("Cannot Generate icon because we cannot get the file type");
    return std::nullopt;
}

/// The overlay for a kind of content; nothing for what no file is.
std::optional<std::uint16_t> TypeOverlay(CPKCS7_TYPE type) noexcept {
    switch (type) {
        case CPKCS7_TYPE::SIGN:
            return TARNWELL_ICON_SIGNED;
        case CPKCS7_TYPE::ENCRYPT:
            return TARNWELL_ICON_ENCRYPTED;
        case CPKCS7_TYPE::SIGNENCRYPT:
            return TARNWELL_ICON_SIGNED_ENCRYPTED;
        case CPKCS7_TYPE::UNKNOWN:
            return TARNWELL_ICON_OTHER;
        default:
            return std::nullopt;
    }
}

/// Puts the marked icon in the place of `icon`, which stays as it is if that fails.
void Mark(CUniqueIcon& icon, std::uint16_t overlay, UINT size) {
    if (!icon)
        return;
    CUniqueIcon marked =
        CAlphaIcon(icon.Get()).ApplyOverlay(*CAlphaIcon::GetOverlay(overlay, size));
    if (marked)
        icon = std::move(marked);
}

}  // namespace

HRESULT CExtractIcon::GetIconLocation(UINT flags, LPWSTR, UINT, int*, UINT* outFlags) noexcept {
    return Guard("CExtractIcon::GetIconLocation", [&] { return Locate(flags, outFlags); });
}

HRESULT CExtractIcon::Extract(LPCWSTR, UINT, HICON* largeIcon, HICON* smallIcon,
                              UINT iconSize) noexcept {
    return Guard("CExtractIcon::Extract", [&] { return Draw(largeIcon, smallIcon, iconSize); });
}

HRESULT CExtractIcon::Locate(UINT flags, UINT* outFlags) {
    m_type = ReadType(Path());
    if (!m_type)
        return E_FAIL;
    if (outFlags)
        *outFlags = GIL_NOTFILENAME | GIL_DONTCACHE;
    return m_type == CPKCS7_TYPE::SIGN && (flags & GIL_ASYNC) ? E_PENDING : S_OK;
}

HRESULT CExtractIcon::Draw(HICON* largeIcon, HICON* smallIcon, UINT iconSize) {
    const std::optional<std::uint16_t> typeOverlay = m_type ? TypeOverlay(*m_type) : std::nullopt;
    if (!typeOverlay)
        return E_FAIL;
    for (HICON* const icon : {largeIcon, smallIcon}) {
        if (icon)
            *icon = nullptr;
    }

    // A word holds sizes whose pixels would take gigabytes; the largest that can be composed
    // is drawn instead.
    const UINT largeSize = std::min<UINT>(LOWORD(iconSize), CAlphaIcon::kMaxSide);
    const UINT smallSize = std::min<UINT>(HIWORD(iconSize), CAlphaIcon::kMaxSide);
    CUniqueIcon largeDrawn;
    CUniqueIcon smallDrawn;
    LoadOriginalFileIcon(EnclosedExtension(Path()), largeIcon ? &largeDrawn : nullptr,
                         smallIcon ? &smallDrawn : nullptr, largeSize, smallSize, m_classes);
    const auto markBoth = [&](std::uint16_t overlay) {
        Mark(smallDrawn, overlay, smallSize);
        Mark(largeDrawn, overlay, largeSize);
    };
    markBoth(*typeOverlay);
    if (m_type == CPKCS7_TYPE::SIGN)
        markBoth(Get_overlay_signature_validity(Path(), m_engine));

    if (largeIcon)
        *largeIcon = largeDrawn.Release();
    if (smallIcon)
        *smallIcon = smallDrawn.Release();
    return S_OK;
}

}  // namespace tarnwell
