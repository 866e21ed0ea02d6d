#include "tarnwell/win32/module.h"

#include "extension_fixture.h"
#include "support/process_growth.h"
#include "tarnwell/win32/class_ids.h"
#include "tarnwell/win32/guard.h"

#include <algorithm>
#include <new>
#include <stdexcept>
// Windows last.
#include <objbase.h>
#include <shlobj.h>

namespace tarnwell::test {
namespace {

constexpr IID kForeign = {0x12345678, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

ComPtr<IClassFactory> ClassObject(REFCLSID classId) {
    ComPtr<IClassFactory> classObject;
    EXPECT_EQ(DllGetClassObject(classId, IID_IClassFactory,
                                reinterpret_cast<void**>(classObject.GetAddressOf())),
              S_OK);
    return classObject;
}

template <class Interface = IUnknown>
ComPtr<Interface> Create(REFCLSID classId, REFIID id = IID_IUnknown) {
    ComPtr<Interface> object;
    EXPECT_EQ(ClassObject(classId)->CreateInstance(nullptr, id,
                                                   reinterpret_cast<void**>(object.GetAddressOf())),
              S_OK);
    return object;
}

TEST(Module, EachClassAnswersToItsInterfacesAndNoOthers) {
    // Those of Windows, not the ones that the extension writes down itself.
    const std::vector<IID> all = {IID_IUnknown,      IID_IPersist,     IID_IPersistFile,
                                  IID_IShellExtInit, IID_IContextMenu, IID_IExtractIconW,
                                  IID_IQueryInfo,    IID_IClassFactory};
    const std::pair<CLSID, std::string> cases[] = {{CLSID_ContextMenu, "y--yy---"},
                                                   {CLSID_ExtractIcon, "yyy--y--"},
                                                   {CLSID_ShellHover, "yyy---y-"}};
    for (const auto& [classId, expected] : cases) {
        const ComPtr<IUnknown> object = Create(classId);
        std::string answers;  // a letter for each of `all`
        for (const IID& id : all) {
            void* found = &answers;
            const HRESULT result = object->QueryInterface(id, &found);
            answers += result == S_OK ? 'y' : '-';
            EXPECT_EQ(found != nullptr, result == S_OK);
            ComPtr<IUnknown> owner, identity;
            *owner.GetAddressOf() = static_cast<IUnknown*>(found);
            // Whichever way one asks, the object's identity is one pointer.
            if (owner)
                owner.As(&identity);
            EXPECT_TRUE(!owner || identity.Get() == object.Get());
        }
        EXPECT_EQ(answers, expected);
        EXPECT_EQ(object->QueryInterface(kForeign, nullptr), E_POINTER);
    }
}

TEST(Module, HandlersOfOneFileRememberItAndDoNothingElse) {
    for (const CLSID& expected : {CLSID_ExtractIcon, CLSID_ShellHover}) {
        const auto file = Create<IPersistFile>(expected, IID_IPersistFile);
        CLSID classId = {};
        EXPECT_EQ(file->GetClassID(&classId), S_OK);
        EXPECT_TRUE(IsEqualCLSID(classId, expected));
        EXPECT_EQ(file->GetClassID(nullptr), E_POINTER);
        EXPECT_EQ(file->Load(nullptr, STGM_READ), E_INVALIDARG);
        EXPECT_EQ(file->Load(L"Z:\\there is none.p7", STGM_READWRITE | STGM_CREATE), S_OK);
        EXPECT_EQ(file->IsDirty(), E_NOTIMPL);
        EXPECT_EQ(file->Save(L"Z:\\a.p7", TRUE), E_NOTIMPL);
        EXPECT_EQ(file->SaveCompleted(L"Z:\\a.p7"), E_NOTIMPL);
        EXPECT_EQ(file->GetCurFile(nullptr), E_NOTIMPL);
    }
}

TEST(Module, RefusesWhatItDoesNotHaveAndClearsTheResult) {
    const ComPtr<IClassFactory> factory = ClassObject(CLSID_ContextMenu);
    EXPECT_EQ(DllGetClassObject(CLSID_ContextMenu, IID_IClassFactory, nullptr), E_INVALIDARG);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
    void* objects[4];
    std::ranges::fill(objects, &objects);
    EXPECT_EQ(DllGetClassObject(kForeign, IID_IClassFactory, &objects[0]),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(DllGetClassObject(CLSID_ContextMenu, kForeign, &objects[1]), E_NOINTERFACE);
    EXPECT_EQ(factory->CreateInstance(factory.Get(), IID_IUnknown, &objects[2]),
              CLASS_E_NOAGGREGATION);
    EXPECT_EQ(factory->CreateInstance(nullptr, kForeign, &objects[3]), E_NOINTERFACE);
    EXPECT_EQ(std::ranges::count(objects, nullptr), 4);
}

TEST(Module, IsKeptLoadedByObjectsServerLocksAndClassObjects) {
    for (const CLSID& handler : {CLSID_ContextMenu, CLSID_ExtractIcon, CLSID_ShellHover}) {
        EXPECT_EQ(DllCanUnloadNow(), S_OK);
        ComPtr<IUnknown> object = Create(handler);
        ComPtr<IUnknown> second = object;
        EXPECT_NE(Create(handler).Get(), object.Get());
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

TEST(Module, LeavesNothingToTheProcessWhenItIsUnloaded) {
    const auto freeSlots = [] {
        std::vector<DWORD> slots;
        for (DWORD slot = TlsAlloc(); slot != TLS_OUT_OF_INDEXES; slot = TlsAlloc())
            slots.push_back(slot);
        std::ranges::for_each(slots, TlsFree);
        return slots.size();
    };
    const auto reload = [] { EXPECT_TRUE(FreeLibrary(LoadLibraryW(L"Tarnwell.dll"))); };
    ExpectNoGrowth(2, 1, reload);  // the thread library keeps a record of less than a kilobyte
    const std::size_t before = freeSlots();
    reload();
    EXPECT_EQ(freeSlots(), before);
    EXPECT_EQ(GetModuleHandleW(L"Tarnwell.dll"), nullptr);
}

TEST(Guard, BracketsTheCallAndReportsWhatWasThrown) {
    const struct {
        HRESULT (*body)();
        HRESULT result;
        Strings lines;
    } cases[] = {
        {[]() -> HRESULT { return S_FALSE; }, S_FALSE, {}},
        {[]() -> HRESULT { throw std::bad_alloc(); }, E_OUTOFMEMORY, {"std::bad_alloc"}},
        {[]() -> HRESULT { throw std::runtime_error("%s went wrong"); }, E_FAIL, {"%s went wrong"}},
        {[]() -> HRESULT { throw 7; }, E_FAIL, {"unknown exception"}},
    };
    for (const auto& each : cases) {
        const CTraceListener trace;
        EXPECT_EQ(Guard("CX::Method", each.body), each.result);
        EXPECT_EQ(trace.Messages(), each.lines);
        EXPECT_EQ(trace.Lines().front(), "enter CX::Method");
        EXPECT_EQ(trace.Lines().back(), "leave CX::Method");
    }
}

}  // namespace
}  // namespace tarnwell::test
