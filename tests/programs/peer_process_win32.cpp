// Another process for tests of what processes see of each other. What it has to say stands on
// standard output, a line each:
//
//     peer_process window [EVENT]      its process id once the manager's window is there; then the
//                                      first copy-data message as "tag length wParam text", after
//                                      having hung until the event is set
//     peer_process name                what the foundation calls this program, behind its length
//     peer_process hold NAME EVENT     its process id once it holds the global mutex; once the
//     event peer_process hold NAME EVENT die is set, it unlocks the mutex, or dies with it

#include <cstdio>
#include <string>
#include <string_view>

#include "common/system/os/global_mutex_win32.h"
#include "common/system/os/host_application.h"
#include "common/system/os/windows.h"
#include "common/system/text/convert.h"

using namespace tarnwell;

namespace {

const char* s_hangsUntil = nullptr;

/// WaitFor waits for the test to set an event, or until no test can be about to.
void WaitFor(const char* event) {
    const CUniqueHandle word(OpenEventA(SYNCHRONIZE, FALSE, event));
    WaitForSingleObject(word.Get(), 10'000);
}

void SayReady() {
    (void)std::printf("%lu\n", GetCurrentProcessId());
    (void)std::fflush(stdout);
}

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM word, LPARAM data) {
    if (message != WM_COPYDATA)
        return DefWindowProcW(window, message, word, data);
    const auto& copied = *reinterpret_cast<const COPYDATASTRUCT*>(data);
    if (s_hangsUntil)
        WaitFor(s_hangsUntil);
    (void)std::printf("%llu %lu %llu %.*s\n", copied.dwData, copied.cbData, word,
                      static_cast<int>(copied.cbData), static_cast<const char*>(copied.lpData));
    PostQuitMessage(0);
    return TRUE;
}

int ShowWindowOfTheManager() {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = &OnMessage;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = L"QUORVA_KESTRIX";
    RegisterClassW(&windowClass);
    if (!CreateWindowW(windowClass.lpszClassName, L"NotifyIconWindow", WS_OVERLAPPED, 0, 0, 1, 1,
                       nullptr, nullptr, windowClass.hInstance, nullptr))
        return 3;
    SayReady();
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
        DispatchMessageW(&message);
    return 0;
}

int Hold(const char* name, const char* event, bool dies) {
    const CGlobalMutex mutex(Utf16FromUtf8(name));
    mutex.lock();
    SayReady();
    WaitFor(event);
    if (dies)
        TerminateProcess(GetCurrentProcess(), 0);
    mutex.unlock();
    return 0;
}

}  // namespace

int main(int count, char** arguments) {
    const std::string_view command = count > 1 ? arguments[1] : "";
    if (command == "window") {
        s_hangsUntil = count > 2 ? arguments[2] : nullptr;
        return ShowWindowOfTheManager();
    }
    if (command == "hold" && count > 3)
        return Hold(arguments[2], arguments[3], count > 4);
    if (command != "name")
        return 2;
    const CISOString name = Utf8FromUtf16(GetHostApplicationName());
    (void)std::printf("%zu %s\n", name.Length(), name.CStr());
    return 0;
}
