#include "tarnwell/win32/extract_icon.h"

namespace tarnwell {

STDMETHODIMP CExtractIcon::GetIconLocation(UINT, LPWSTR, UINT, int*, UINT*) noexcept {
    return E_NOTIMPL;
}

STDMETHODIMP CExtractIcon::Extract(LPCWSTR, UINT, HICON*, HICON*, UINT) noexcept {
    return E_NOTIMPL;
}

}  // namespace tarnwell
