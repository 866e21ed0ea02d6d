#pragma once

// The identifiers of the interfaces that are implemented here, and what each inherits. The
// compiler's own way to them does not link for every interface of the shell.

#include "common/system/os/windows.h"
// Windows' shell headers need windows.h before them.
#include <shlobj.h>
#include <unknwn.h>

namespace tarnwell {

/// SystemId is an identifier of the range that COM keeps for the system's own interfaces.
constexpr IID SystemId(unsigned long first) noexcept {
    return {first, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
}

/// One specialisation an interface: its identifier (Windows SDK header named beside it) and the
/// interface it derives from, to which an object that offers it answers as well.
template <class Interface>
struct InterfaceTraits;

template <>
struct InterfaceTraits<IUnknown> {  // unknwn.h
    static constexpr IID kId = SystemId(0);
};
template <>
struct InterfaceTraits<IClassFactory> {  // unknwn.h
    using Base = IUnknown;
    static constexpr IID kId = SystemId(1);
};
template <>
struct InterfaceTraits<IPersist> {  // objidl.h
    using Base = IUnknown;
    static constexpr IID kId = SystemId(0x10C);
};
template <>
struct InterfaceTraits<IPersistFile> {  // objidl.h
    using Base = IPersist;
    static constexpr IID kId = SystemId(0x10B);
};
template <>
struct InterfaceTraits<IContextMenu> {  // shobjidl.h
    using Base = IUnknown;
    static constexpr IID kId = SystemId(0x214E4);
};
template <>
struct InterfaceTraits<IShellExtInit> {  // shobjidl.h
    using Base = IUnknown;
    static constexpr IID kId = SystemId(0x214E8);
};
template <>
struct InterfaceTraits<IExtractIconW> {  // shlobj.h
    using Base = IUnknown;
    static constexpr IID kId = SystemId(0x214FA);
};
template <>
struct InterfaceTraits<IQueryInfo> {  // shlobj.h
    using Base = IUnknown;
    static constexpr IID kId = SystemId(0x21500);
};

template <class Interface>
inline constexpr const IID& kInterfaceId = InterfaceTraits<Interface>::kId;

/// Covers tells whether `id` names the interface or one that it derives from.
template <class Interface>
bool Covers(REFIID id) noexcept {
    if (IsEqualIID(id, kInterfaceId<Interface>))
        return true;
    if constexpr (requires { typename InterfaceTraits<Interface>::Base; })
        return Covers<typename InterfaceTraits<Interface>::Base>(id);
    return false;
}

/// AnswerQuery is the whole of QueryInterface for `object`, which offers `Interfaces`: a counted
/// pointer to the first that covers `id`. E_POINTER for a null `answer`; E_NOINTERFACE, and a null
/// *answer, for an interface not offered.
template <class... Interfaces, class Object>
HRESULT AnswerQuery(Object* object, REFIID id, void** answer) noexcept {
    if (!answer)
        return E_POINTER;
    *answer = nullptr;
    (void)((Covers<Interfaces>(id) && (*answer = static_cast<Interfaces*>(object))) || ...);
    if (!*answer)
        return E_NOINTERFACE;
    object->AddRef();
    return S_OK;
}

}  // namespace tarnwell
