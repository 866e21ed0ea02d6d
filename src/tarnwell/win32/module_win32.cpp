#include "tarnwell/win32/module.h"

#include "tarnwell/win32/guard.h"

namespace tarnwell {
namespace {

class CSectionLock {
public:
    explicit CSectionLock(CRITICAL_SECTION& section) noexcept : m_section(section) {
        EnterCriticalSection(&m_section);
    }
    ~CSectionLock() { LeaveCriticalSection(&m_section); }
    CSectionLock(const CSectionLock&) = delete;
    CSectionLock& operator=(const CSectionLock&) = delete;

private:
    CRITICAL_SECTION& m_section;
};

}  // namespace

CModule& Module() noexcept {
    static CModule module;
    return module;
}

CModule::~CModule() {
    for (IClassFactory* classObject : m_classObjects)
        if (classObject)
            classObject->Release();
    DeleteCriticalSection(&m_section);
}

IClassFactory& CModule::CachedClassObject(std::size_t index) {
    const CSectionLock lock(m_section);
    IClassFactory*& classObject = m_classObjects[index];
    if (!classObject)
        classObject = ObjectTable()[index].makeClassObject();
    return *classObject;
}

HRESULT CModule::GetClassObject(REFCLSID classId, REFIID id, void** object) noexcept {
    if (!object)
        return E_INVALIDARG;
    *object = nullptr;
    const auto table = ObjectTable();
    for (std::size_t index = 0; index < table.size(); ++index)
        if (IsEqualCLSID(classId, *table[index].classId))
            return GuardUntraced(
                [&] { return CachedClassObject(index).QueryInterface(id, object); });
    return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT CModule::CanUnloadNow() noexcept {
    if (m_locks.load(std::memory_order_acquire) != 0)
        return S_FALSE;
    // Whoever is just making a class object is let out first.
    const CSectionLock lock(m_section);
    return S_OK;
}

}  // namespace tarnwell
