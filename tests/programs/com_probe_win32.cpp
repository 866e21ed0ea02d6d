// A COM client for tests, which knows a server only by its class identifiers or its file:
//
//   com_probe create {CLASS}...     makes an object of each class through COM and lets it go
//   com_probe call FILE FUNCTION    calls an exported function without arguments, prints its result
//   com_probe classes KEY...        prints the names of all registered classes and types, and all
//                                   below the given keys: "key", then " name=text" for each value
//
// "create" prints a line a class and exits with 1 if the server's DLL does not unload in the end.

#include <windows.h>
// Windows' COM headers need windows.h before them.
#include <objbase.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr const wchar_t* kServer = L"Tarnwell.dll";

bool IsLoaded() {
    CoFreeUnusedLibrariesEx(0, 0);
    return GetModuleHandleW(kServer) != nullptr;
}

/// Create tells what COM says to making and using one object, and whether the DLL stays loaded
/// exactly as long as the object lives.
void Create(const wchar_t* classText) {
    CLSID classId{};
    IUnknown* object = nullptr;
    HRESULT result = CLSIDFromString(classText, &classId);
    if (SUCCEEDED(result))
        result = CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                  reinterpret_cast<void**>(&object));
    std::printf("%ls 0x%08lX", classText, static_cast<unsigned long>(result));
    if (object) {
        std::printf(" held:%s", IsLoaded() ? "loaded" : "gone");
        object->Release();
    }
    std::printf(" released:%s\n", IsLoaded() ? "loaded" : "gone");
}

int Call(const wchar_t* file, const wchar_t* function) {
    const HMODULE module = LoadLibraryW(file);
    if (!module) {
        std::printf("not loaded: error %lu\n", GetLastError());
        return 1;
    }
    char name[64];
    WideCharToMultiByte(CP_UTF8, 0, function, -1, name, sizeof name, nullptr, nullptr);
    using Function = HRESULT(WINAPI*)();
    const auto entry =
        reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    if (entry)
        std::printf("0x%08lX\n", static_cast<unsigned long>(entry()));
    else
        std::printf("no such function\n");
    FreeLibrary(module);
    return entry ? 0 : 1;
}

/// Print writes UTF-8 on one line, whatever is in the text.
void Print(std::wstring_view text) {
    std::string bytes(text.size() * 3, '\0');
    const int length =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), bytes.data(),
                            static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.resize(static_cast<std::size_t>(length));
    for (const char byte : bytes)
        if (static_cast<unsigned char>(byte) < ' ')
            std::printf("\\x%02x", byte);
        else
            std::putchar(byte);
}

void PrintValues(HKEY key) {
    std::vector<wchar_t> name(16384);
    std::vector<wchar_t> data(65536);
    for (DWORD index = 0;; ++index) {
        auto length = static_cast<DWORD>(name.size());
        auto bytes = static_cast<DWORD>(data.size() * sizeof(wchar_t));
        DWORD type = 0;
        if (RegEnumValueW(key, index, name.data(), &length, nullptr, &type,
                          reinterpret_cast<BYTE*>(data.data()), &bytes) != ERROR_SUCCESS)
            return;
        std::putchar(' ');
        Print({name.data(), length});
        std::putchar('=');
        if (type != REG_SZ)
            std::printf("type %lu, %lu bytes", type, bytes);
        else if (bytes >= sizeof(wchar_t))
            Print({data.data(), bytes / sizeof(wchar_t) - 1});  // the stored terminator apart
        std::putchar('\n');
    }
}

/// PrintBelow prints the keys below `path`; with `whole` their values and all below them too.
void PrintBelow(HKEY classes, const std::wstring& path, bool whole) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(classes, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return;
    if (whole) {
        Print(path);
        std::putchar('\n');
        PrintValues(key);
    }
    wchar_t name[256];
    for (DWORD index = 0, length = 256; RegEnumKeyExW(key, index, name, &length, nullptr, nullptr,
                                                      nullptr, nullptr) == ERROR_SUCCESS;
         ++index, length = 256) {
        const std::wstring child = path.empty() ? name : path + L"\\" + name;
        if (whole) {
            PrintBelow(classes, child, true);
        } else {
            Print(child);
            std::putchar('\n');
        }
    }
    RegCloseKey(key);
}

int PrintClasses(int count, wchar_t** keys) {
    HKEY classes = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Classes", 0, KEY_READ, &classes) !=
        ERROR_SUCCESS)
        return 1;
    PrintBelow(classes, L"", false);
    PrintBelow(classes, L"CLSID", false);
    for (int i = 0; i < count; ++i)
        PrintBelow(classes, keys[i], true);
    RegCloseKey(classes);
    return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const std::wstring_view command = argc > 1 ? argv[1] : L"";
    if (command == L"call" && argc == 4)
        return Call(argv[2], argv[3]);
    if (command == L"classes")
        return PrintClasses(argc - 2, argv + 2);
    if (command != L"create")
        return 2;
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
        return 3;
    for (int i = 2; i < argc; ++i)
        Create(argv[i]);
    const bool left = IsLoaded();
    CoUninitialize();
    return left ? 1 : 0;
}
