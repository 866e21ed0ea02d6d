#pragma once

// The class object of a handler class: makes its objects. The module caches one a class. Its
// count is interlocked because any thread may ask for it.

#include <atomic>

#include "tarnwell/win32/com_object.h"
#include "tarnwell/win32/guard.h"
#include "tarnwell/win32/interface_id.h"
#include "tarnwell/win32/module.h"

namespace tarnwell {

/// `Coclass` derives from CComObject and has a default constructor, which may throw.
template <class Coclass>
class CClassObject final : public IClassFactory {
public:
    /// Make gives a new class object whose one reference is the caller's: the cache's, which does
    /// not keep the DLL loaded. Throws std::bad_alloc.
    static IClassFactory* Make() { return new CClassObject; }

    STDMETHODIMP QueryInterface(REFIID id, void** object) noexcept override {
        return AnswerQuery<IClassFactory>(this, id, object);
    }

    /// AddRef locks the module for each reference beyond the cache's, so that nobody outside is
    /// left with a class object whose code is gone.
    STDMETHODIMP_(ULONG) AddRef() noexcept override {
        Module().Lock();
        return m_references.fetch_add(1, std::memory_order_relaxed) + 1;
    }

    STDMETHODIMP_(ULONG) Release() noexcept override {
        const ULONG left = m_references.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0)
            delete this;
        else
            Module().Unlock();
        return left;
    }

    /// CreateInstance makes a fresh object and gives it as `id`. E_POINTER for a null `object`;
    /// CLASS_E_NOAGGREGATION for an outer object; E_NOINTERFACE; what the constructor threw.
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID id, void** object) noexcept override {
        if (!object)
            return E_POINTER;
        *object = nullptr;
        if (outer)
            return CLASS_E_NOAGGREGATION;
        return GuardUntraced([&] { return MakeObject<Coclass>()->QueryInterface(id, object); });
    }

    STDMETHODIMP LockServer(BOOL lock) noexcept override {
        lock ? Module().Lock() : Module().Unlock();
        return S_OK;
    }

    CClassObject(const CClassObject&) = delete;
    CClassObject& operator=(const CClassObject&) = delete;

private:
    CClassObject() = default;
    ~CClassObject() = default;

    std::atomic<ULONG> m_references{1};
};

}  // namespace tarnwell
