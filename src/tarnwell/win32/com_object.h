#pragma once

// What every handler object has in common: the reference count, the module's lock, the answer to
// QueryInterface. An object belongs to the apartment that created it, so its count is plain.
//
//     class CContextMenu final : public CComObject<IShellExtInit, IContextMenu> { … };

#include <utility>

#include "tarnwell/win32/interface_id.h"
#include "tarnwell/win32/module.h"
// Windows last.
#include <wrl/client.h>

namespace tarnwell {

/// Implements IUnknown for an object that offers `Interfaces` and what they derive from. The
/// object starts with one reference, held by its maker, and deletes itself with the last one.
template <class... Interfaces>
class CComObject : public Interfaces... {
public:
    CComObject(const CComObject&) = delete;
    CComObject& operator=(const CComObject&) = delete;

    /// QueryInterface gives a counted pointer; E_POINTER for a null `object`, E_NOINTERFACE (and a
    /// null *object) for an interface not offered.
    STDMETHODIMP QueryInterface(REFIID id, void** object) noexcept final {
        return AnswerQuery<Interfaces...>(this, id, object);
    }

    STDMETHODIMP_(ULONG) AddRef() noexcept final { return ++m_references; }

    STDMETHODIMP_(ULONG) Release() noexcept final {
        const ULONG left = --m_references;
        if (left == 0)
            delete this;
        return left;
    }

protected:
    CComObject() = default;
    virtual ~CComObject() = default;

private:
    ULONG m_references = 1;
    CModuleLock m_lock;
};

/// MakeObject makes an `Object`, whose first reference the result holds. Throws what its
/// constructor throws. (ComPtr::Attach is no way to do this: in the toolchain's header it counts
/// a reference of its own, and the object never dies.)
template <class Object, class... Arguments>
Microsoft::WRL::ComPtr<Object> MakeObject(Arguments&&... arguments) {
    Microsoft::WRL::ComPtr<Object> made;
    *made.GetAddressOf() = new Object(std::forward<Arguments>(arguments)...);
    return made;
}

}  // namespace tarnwell
