#include "tarnwell/win32/shell_hover.h"

namespace tarnwell {

STDMETHODIMP CShellHover::GetInfoTip(DWORD, WCHAR** tip) noexcept {
    if (tip)
        *tip = nullptr;
    return E_NOTIMPL;
}

STDMETHODIMP CShellHover::GetInfoFlags(DWORD*) noexcept {
    return E_NOTIMPL;
}

}  // namespace tarnwell
