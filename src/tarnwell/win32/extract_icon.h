#pragma once

// The icon handler of the PKCS7File type. Used on the apartment thread that created it.

#include "tarnwell/win32/class_ids.h"
#include "tarnwell/win32/persist_file.h"

namespace tarnwell {

/// Takes the file from the explorer, but does not draw yet: both icon calls answer E_NOTIMPL, and
/// the explorer shows its generic icon.
class CExtractIcon final : public CPersistFile<CLSID_ExtractIcon, IExtractIconW> {
public:
    STDMETHODIMP GetIconLocation(UINT flags, LPWSTR iconFile, UINT size, int* index,
                                 UINT* outFlags) noexcept override;
    STDMETHODIMP Extract(LPCWSTR file, UINT index, HICON* largeIcon, HICON* smallIcon,
                         UINT iconSize) noexcept override;
};

}  // namespace tarnwell
