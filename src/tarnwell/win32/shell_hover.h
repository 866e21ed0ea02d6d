#pragma once

// The info-tip handler of the PKCS7File type. Used on the apartment thread that created it.

#include "tarnwell/win32/class_ids.h"
#include "tarnwell/win32/persist_file.h"

namespace tarnwell {

/// Takes the file from the explorer, but tells nothing of it yet: GetInfoTip answers E_NOTIMPL,
/// and no tip appears.
class CShellHover final : public CPersistFile<CLSID_ShellHover, IQueryInfo> {
public:
    STDMETHODIMP GetInfoTip(DWORD flags, WCHAR** tip) noexcept override;
    STDMETHODIMP GetInfoFlags(DWORD* flags) noexcept override;
};

}  // namespace tarnwell
