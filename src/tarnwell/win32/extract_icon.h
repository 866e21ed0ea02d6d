#pragma once

// The icon handler of the PKCS7File type: the icon of the enclosed file's type, marked with the
// kind of content and, for a signed file, with the verdict on its signatures. One object a file;
// used on the apartment thread that created it, which may be the explorer's own for icons.

#include <optional>

#include "common/crypto/pkcs7_error.h"
#include "tarnwell/win32/chain_engine.h"
#include "tarnwell/win32/class_ids.h"
#include "tarnwell/win32/persist_file.h"

namespace tarnwell {

class CExtractIcon final : public CPersistFile<CLSID_ExtractIcon, IExtractIconW> {
public:
    /// `classes` is where file types are registered, `engine` what judges certificates; both must
    /// outlive the object.
    explicit CExtractIcon(HKEY classes = HKEY_CLASSES_ROOT,
                          CChainEngine& engine = CChainEngine::System()) noexcept
        : m_classes(classes), m_engine(engine) {}

    /// GetIconLocation reads what kind of file it is and says in `outFlags` (may be null) that
    /// only Extract has its icon and that nobody may keep it; the other buffers stay as they are.
    /// E_PENDING where judging the signatures may take time and `flags` hold GIL_ASYNC: explorer
    /// asks again from its icon thread. E_FAIL for a file that cannot be read.
    STDMETHODIMP GetIconLocation(UINT flags, LPWSTR iconFile, UINT size, int* index,
                                 UINT* outFlags) noexcept override;

    /// Extract draws the icons, of the sizes in the low and the high word of `iconSize` (pixels),
    /// which are then the caller's to destroy; either pointer may be null. `file` and `index` are
    /// not looked at. E_FAIL, nothing touched, without a GetIconLocation that read the file; E_FAIL
    /// and null icons if a signed file cannot be read any more, or names signers and holds no
    /// certificate at all: there is no verdict on it, and an icon without one would say too much.
    STDMETHODIMP Extract(LPCWSTR file, UINT index, HICON* largeIcon, HICON* smallIcon,
                         UINT iconSize) noexcept override;

private:
    HRESULT Locate(UINT flags, UINT* outFlags);
    HRESULT Draw(HICON* largeIcon, HICON* smallIcon, UINT iconSize);

    HKEY m_classes;
    CChainEngine& m_engine;
    std::optional<CPKCS7_TYPE> m_type;  ///< nothing until GetIconLocation could read the file
};

}  // namespace tarnwell
