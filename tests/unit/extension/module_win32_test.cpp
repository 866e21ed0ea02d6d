#include "tarnwell/win32/module.h"

#include "support/heap_checks.h"
#include "support/trace_listener.h"
#include "tarnwell/win32/class_ids.h"
#include "tarnwell/win32/class_object.h"
#include "tarnwell/win32/com_object.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>
// Windows last.
#include <objbase.h>
#include <wrl/client.h>

namespace tarnwell {
namespace {

using Microsoft::WRL::ComPtr;

constexpr IID kForeign = {0x12345678, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr CLSID kHandlers[] = {CLSID_ContextMenu, CLSID_ExtractIcon, CLSID_ShellHover};

ComPtr<IClassFactory> ClassObject(REFCLSID classId) {
    ComPtr<IClassFactory> classObject;
    EXPECT_EQ(DllGetClassObject(classId, kInterfaceId<IClassFactory>,
                                reinterpret_cast<void**>(classObject.GetAddressOf())),
              S_OK);
    return classObject;
}

template <class Interface>
ComPtr<Interface> Create(REFCLSID classId) {
    ComPtr<Interface> object;
    EXPECT_EQ(ClassObject(classId)->CreateInstance(nullptr, kInterfaceId<Interface>,
                                                   reinterpret_cast<void**>(object.GetAddressOf())),
              S_OK);
    return object;
}

TEST(Module, EachClassAnswersToItsInterfacesAndNoOthers) {
    const std::vector<IID> all = {
        kInterfaceId<IUnknown>,      kInterfaceId<IPersist>,      kInterfaceId<IPersistFile>,
        kInterfaceId<IShellExtInit>, kInterfaceId<IContextMenu>,  kInterfaceId<IExtractIconW>,
        kInterfaceId<IQueryInfo>,    kInterfaceId<IClassFactory>, kForeign};
    const struct {
        CLSID classId;
        std::string answers;  // a letter for each of `all`
    } cases[] = {{CLSID_ContextMenu, "y--yy----"},
                 {CLSID_ExtractIcon, "yyy--y---"},
                 {CLSID_ShellHover, "yyy---y--"}};
    for (const auto& each : cases) {
        const ComPtr<IUnknown> object = Create<IUnknown>(each.classId);
        std::string answers;
        for (const IID& id : all) {
            void* found = &answers;
            const HRESULT result = object->QueryInterface(id, &found);
            answers += result == S_OK ? 'y' : '-';
            EXPECT_TRUE(result == S_OK ? found != nullptr
                                       : result == E_NOINTERFACE && found == nullptr);
            ComPtr<IUnknown> owner;
            *owner.GetAddressOf() = static_cast<IUnknown*>(found);
            // Whichever way one asks, the object's identity is one pointer.
            ComPtr<IUnknown> identity;
            if (owner) {
                owner->QueryInterface(kInterfaceId<IUnknown>,
                                      reinterpret_cast<void**>(identity.GetAddressOf()));
                EXPECT_EQ(identity.Get(), object.Get());
            }
        }
        EXPECT_EQ(answers, each.answers);
        EXPECT_EQ(object->QueryInterface(kForeign, nullptr), E_POINTER);
    }
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

// The identifiers are written down by hand here, the compiler's own are taken there.
TEST(Module, InterfaceIdentifiersAreTheSystemsOwn) {
    EXPECT_TRUE(IsEqualIID(kInterfaceId<IUnknown>, IID_IUnknown));
    EXPECT_TRUE(IsEqualIID(kInterfaceId<IClassFactory>, IID_IClassFactory));
    EXPECT_TRUE(IsEqualIID(kInterfaceId<IPersist>, IID_IPersist));
    EXPECT_TRUE(IsEqualIID(kInterfaceId<IPersistFile>, IID_IPersistFile));
    EXPECT_TRUE(IsEqualIID(kInterfaceId<IContextMenu>, IID_IContextMenu));
    EXPECT_TRUE(IsEqualIID(kInterfaceId<IShellExtInit>, IID_IShellExtInit));
    EXPECT_TRUE(IsEqualIID(kInterfaceId<IExtractIconW>, IID_IExtractIconW));
    EXPECT_TRUE(IsEqualIID(kInterfaceId<IQueryInfo>, IID_IQueryInfo));
}

TEST(Module, ClassIdentifiersAreTheRegisteredTexts) {
    const std::u16string_view texts[] = {kContextMenuClass, kExtractIconClass, kShellHoverClass};
    for (std::size_t i = 0; i < 3; ++i) {
        wchar_t text[40];
        ASSERT_EQ(StringFromGUID2(kHandlers[i], text, 40), 39);
        EXPECT_TRUE(texts[i] == Units(text)) << i;
    }
}

TEST(Module, RefusesWhatItDoesNotHave) {
    void* object = &object;
    EXPECT_EQ(DllGetClassObject(CLSID_ContextMenu, kInterfaceId<IClassFactory>, nullptr),
              E_INVALIDARG);
    EXPECT_EQ(DllGetClassObject(kForeign, kInterfaceId<IClassFactory>, &object),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    for (const CLSID& handler : kHandlers) {
        object = &object;
        EXPECT_EQ(DllGetClassObject(handler, kInterfaceId<IContextMenu>, &object), E_NOINTERFACE);
        EXPECT_EQ(object, nullptr);

        const ComPtr<IClassFactory> classObject = ClassObject(handler);
        object = &object;
        EXPECT_EQ(classObject->CreateInstance(classObject.Get(), kInterfaceId<IUnknown>, &object),
                  CLASS_E_NOAGGREGATION);
        EXPECT_EQ(object, nullptr);
        object = &object;
        EXPECT_EQ(classObject->CreateInstance(nullptr, kForeign, &object), E_NOINTERFACE);
        EXPECT_EQ(object, nullptr);
        EXPECT_EQ(classObject->CreateInstance(nullptr, kInterfaceId<IUnknown>, nullptr), E_POINTER);
    }
    EXPECT_EQ(DllCanUnloadNow(), S_OK);  // the objects made on the way are gone
}

TEST(Module, IsKeptLoadedByObjectsServerLocksAndClassObjects) {
    for (const CLSID& handler : kHandlers) {
        EXPECT_EQ(DllCanUnloadNow(), S_OK);
        ComPtr<IUnknown> object = Create<IUnknown>(handler);
        EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
        ComPtr<IUnknown> second = object;
        object.Reset();
        EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
        second.Reset();
        EXPECT_EQ(DllCanUnloadNow(), S_OK);

        ComPtr<IClassFactory> classObject = ClassObject(handler);
        EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
        classObject->LockServer(TRUE);
        classObject.Reset();
        EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
        ClassObject(handler)->LockServer(FALSE);
        EXPECT_EQ(DllCanUnloadNow(), S_OK);
    }
}

TEST(Module, MakesOneClassObjectAClassAndFreshObjects) {
    EXPECT_EQ(ClassObject(CLSID_ShellHover).Get(), ClassObject(CLSID_ShellHover).Get());
    EXPECT_NE(ClassObject(CLSID_ShellHover).Get(), ClassObject(CLSID_ExtractIcon).Get());
    const ComPtr<IUnknown> first = Create<IUnknown>(CLSID_ShellHover);
    const ComPtr<IUnknown> second = Create<IUnknown>(CLSID_ShellHover);
    EXPECT_NE(first.Get(), second.Get());
}

TEST(Module, CountsRightFromManyThreads) {
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int round = 0; round < test::Size(2000, 100); ++round) {
                Create<IUnknown>(kHandlers[round % 3]);
                DllCanUnloadNow();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

template <class Thrown>
class CThrowing final : public CComObject<IPersist> {
public:
    CThrowing() { throw Thrown(); }
    STDMETHODIMP GetClassID(CLSID*) noexcept override { return E_NOTIMPL; }
};

template <class Coclass>
HRESULT ResultOfMaking() {
    ComPtr<IClassFactory> classObject;
    *classObject.GetAddressOf() = CClassObject<Coclass>::Make();
    void* object = &object;
    const HRESULT result = classObject->CreateInstance(nullptr, kInterfaceId<IUnknown>, &object);
    EXPECT_EQ(object, nullptr);
    return result;
}

TEST(ClassObject, TurnsWhatAConstructorThrowsIntoAResult) {
    EXPECT_EQ(ResultOfMaking<CThrowing<std::bad_alloc>>(), E_OUTOFMEMORY);
    EXPECT_EQ(ResultOfMaking<CThrowing<std::exception>>(), E_FAIL);
    EXPECT_EQ(ResultOfMaking<CThrowing<int>>(), E_FAIL);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(PersistFile, KnowsItsClassAndOnlyReads) {
    for (const CLSID& handler : {CLSID_ExtractIcon, CLSID_ShellHover}) {
        const ComPtr<IPersistFile> file = Create<IPersistFile>(handler);
        CLSID classId{};
        EXPECT_EQ(file->GetClassID(&classId), S_OK);
        EXPECT_TRUE(IsEqualCLSID(classId, handler));
        EXPECT_EQ(file->GetClassID(nullptr), E_POINTER);
        EXPECT_EQ(file->Load(L"Z:\\not\\there.p7m", STGM_READWRITE), S_OK);
        EXPECT_EQ(file->Load(nullptr, 0), E_INVALIDARG);
        EXPECT_EQ(file->IsDirty(), E_NOTIMPL);
        EXPECT_EQ(file->Save(L"x", FALSE), E_NOTIMPL);
        EXPECT_EQ(file->SaveCompleted(L"x"), E_NOTIMPL);
        LPOLESTR current = nullptr;
        EXPECT_EQ(file->GetCurFile(&current), E_NOTIMPL);
    }
}

TEST(Guard, BracketsTheCallAndReportsWhatWasThrown) {
    const struct {
        HRESULT (*body)();
        HRESULT result;
        std::vector<std::string> lines;
    } cases[] = {
        {[]() -> HRESULT { return S_FALSE; }, S_FALSE, {}},
        {[]() -> HRESULT { throw std::bad_alloc(); }, E_OUTOFMEMORY, {"std::bad_alloc"}},
        {[]() -> HRESULT { throw std::runtime_error("%s went wrong"); }, E_FAIL, {"%s went wrong"}},
        {[]() -> HRESULT { throw 7; }, E_FAIL, {"unknown exception"}},
    };
    for (const auto& each : cases) {
        test::CTraceListener trace;
        EXPECT_EQ(Guard("CX::Method", each.body), each.result);
        std::vector<std::string> bracketed{"enter CX::Method"};
        bracketed.insert(bracketed.end(), each.lines.begin(), each.lines.end());
        bracketed.emplace_back("leave CX::Method");
        EXPECT_EQ(trace.Lines(), bracketed);

        trace.Clear();
        EXPECT_EQ(GuardUntraced(each.body), each.result);
        EXPECT_EQ(trace.Lines(), each.lines);
    }
}

}  // namespace
}  // namespace tarnwell
