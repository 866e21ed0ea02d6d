#pragma once

// What the icon and the info-tip handler have in common: explorer hands them the path of one file
// through IPersistFile and then asks about it. Belongs to its apartment's thread.

#include "common/system/text/string.h"
#include "tarnwell/win32/com_object.h"
#include "tarnwell/win32/guard.h"

namespace tarnwell {

/// A handler object of class `kClassId` that remembers a path and offers `Interfaces` besides.
template <const CLSID& kClassId, class... Interfaces>
class CPersistFile : public CComObject<IPersistFile, Interfaces...> {
public:
    STDMETHODIMP GetClassID(CLSID* classId) noexcept override {
        if (!classId)
            return E_POINTER;
        *classId = kClassId;
        return S_OK;
    }

    /// Load remembers `name`, a full path; the file is not touched and the mode is ignored.
    STDMETHODIMP Load(LPCOLESTR name, DWORD) noexcept override {
        if (!name)
            return E_INVALIDARG;
        return GuardUntraced([&] {
            m_path = CUTF16String(Units(name));
            return S_OK;
        });
    }

    // A handler only reads.
    STDMETHODIMP IsDirty() noexcept override { return E_NOTIMPL; }
    STDMETHODIMP Save(LPCOLESTR, BOOL) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP SaveCompleted(LPCOLESTR) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP GetCurFile(LPOLESTR*) noexcept override { return E_NOTIMPL; }

protected:
    const CUTF16String& Path() const noexcept { return m_path; }

private:
    CUTF16String m_path;
};

}  // namespace tarnwell
