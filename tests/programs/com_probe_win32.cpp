// A COM client for tests, which knows a server only by its file and its class identifiers:
//
//   com_probe FILE [hold] {CLASS}...
//
// makes an object of each class through COM and lets it go. It prints a line a class, and exits
// with 1 if the server's DLL does not unload in the end. With "hold" it says "holding" once it has
// the object, and keeps it until standard input ends.

#include <windows.h>
// Windows' COM headers need windows.h before them.
#include <objbase.h>

#include <cstdio>
#include <cwchar>

namespace {

const char* State(const wchar_t* server) {
    CoFreeUnusedLibrariesEx(0, 0);
    return GetModuleHandleW(server) ? "loaded" : "gone";
}

/// Create tells what COM says to making and using one object, and whether `server` stays loaded
/// exactly as long as the object lives.
void Create(const wchar_t* server, const wchar_t* classText, bool hold) {
    CLSID classId{};
    IUnknown* object = nullptr;
    HRESULT result = CLSIDFromString(classText, &classId);
    if (SUCCEEDED(result))
        result = CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                                  reinterpret_cast<void**>(&object));
    std::printf("%ls 0x%08lX", classText, static_cast<unsigned long>(result));
    if (object) {
        if (hold) {
            std::printf(" holding\n");
            (void)std::fflush(stdout);
            while (std::getchar() != EOF) {
            }
        }
        std::printf(" held:%s", State(server));
        object->Release();
    }
    std::printf(" released:%s\n", State(server));
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc < 3)
        return 2;
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
        return 3;
    const bool hold = std::wcscmp(argv[2], L"hold") == 0;
    for (int i = hold ? 3 : 2; i < argc; ++i)
        Create(argv[1], argv[i], hold);
    const bool left = GetModuleHandleW(argv[1]) != nullptr;
    CoUninitialize();
    return left ? 1 : 0;
}
