// Holds a global mutex for tests:
//
//     mutex_holder NAME unlock|die
//
// locks the mutex, sets the event NAME.held, waits for the event NAME.go, and unlocks the mutex or
// dies with it.

#include <string_view>

#include "common/system/os/global_mutex_win32.h"

using namespace tarnwell;

int wmain(int count, wchar_t** arguments) {
    if (count != 3)
        return 2;
    const CUTF16String name = Units(arguments[1]);
    const CUniqueHandle held(CreateEventW(nullptr, TRUE, FALSE, Wide(name + u".held")));
    const CUniqueHandle go(CreateEventW(nullptr, TRUE, FALSE, Wide(name + u".go")));
    const CGlobalMutex mutex(name);
    mutex.lock();
    SetEvent(held.Get());
    WaitForSingleObject(go.Get(), 20'000);
    if (std::wstring_view(arguments[2]) == L"die")
        TerminateProcess(GetCurrentProcess(), 3);
    mutex.unlock();
    WaitForSingleObject(GetCurrentProcess(), 20'000);  // so that unlocking it is, not ending
    return 0;
}
