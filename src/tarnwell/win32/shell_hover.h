#pragma once

// The info-tip handler of the PKCS7File type: who signed the file, by whose word, and when. One
// object a file; used on the apartment thread that created it.

#include "tarnwell/win32/catalogue_source.h"
#include "tarnwell/win32/class_ids.h"
#include "tarnwell/win32/persist_file.h"

namespace tarnwell {

class CShellHover final : public CPersistFile<CLSID_ShellHover, IQueryInfo> {
public:
    /// `catalogue` is where the labels come from; it must outlive the object.
    explicit CShellHover(CCatalogueSource& catalogue = CCatalogueSource::System()) noexcept
        : m_catalogue(catalogue) {}

    /// GetInfoTip gives the tip in memory that the caller frees with CoTaskMemFree; `flags` are
    /// not looked at. "" for a signed file without signers. E_POINTER for a null `tip`; E_FAIL and
    /// a null tip without catalogue, for a file that is not signed, and if anything in it cannot
    /// be read, a signer's certificate that is not in the file included.
    STDMETHODIMP GetInfoTip(DWORD flags, WCHAR** tip) noexcept override;
    STDMETHODIMP GetInfoFlags(DWORD* flags) noexcept override;

private:
    HRESULT MakeTip(WCHAR** tip);

    CCatalogueSource& m_catalogue;
};

}  // namespace tarnwell
