#include "shellprobe/view/folder_watch.h"

#include <array>

namespace tarnwell::shellprobe {
namespace {

constexpr DWORD kPollInterval = 1000;  // milliseconds

struct ChangeTraits {
    using Value = HANDLE;
    static Value Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value value) noexcept { FindCloseChangeNotification(value); }
};

void Watch(const std::wstring& folder, HANDLE stop, HWND window, UINT message) {
    const CUnique<ChangeTraits> change(FindFirstChangeNotificationW(
        folder.c_str(), FALSE,
        FILE_NOTIFY_CHANGE_FILE_NAME | FILE_NOTIFY_CHANGE_SIZE | FILE_NOTIFY_CHANGE_LAST_WRITE));
    const std::array handles = {stop, change.Get()};
    const DWORD count = change ? 2 : 1;
    for (;;) {
        const DWORD woken = WaitForMultipleObjects(count, handles.data(), FALSE, kPollInterval);
        if (woken == WAIT_OBJECT_0 || woken == WAIT_FAILED)
            return;
        if (woken == WAIT_OBJECT_0 + 1)
            FindNextChangeNotification(change.Get());
        PostMessageW(window, message, 0, 0);
    }
}

}  // namespace

CFolderWatch::CFolderWatch(const std::wstring& folder, HWND window, UINT message)
    : m_stop(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_thread([folder, stop = m_stop.Get(), window, message] {
          Watch(folder, stop, window, message);
      }) {}

CFolderWatch::~CFolderWatch() {
    SetEvent(m_stop.Get());
}

}  // namespace tarnwell::shellprobe
