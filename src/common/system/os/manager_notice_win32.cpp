#include "common/system/os/manager_notice_win32.h"

#include <exception>

#include "common/system/os/windows.h"
#include "common/system/trace/trace.h"

namespace tarnwell {
namespace {

constexpr ULONG_PTR kNoticeTag = 10;
constexpr UINT kPatienceMs = 500;

}  // namespace

void NotifyManager(const CISOString& first, const CISOString& second) noexcept try {
    const CTraceScope scope("Posting notification to manager");
    const HWND window = FindWindowW(L"QUORVA_KESTRIX", L"NotifyIconWindow");
    if (!window)
        return;
    TraceString("Window found");

    const CISOString message = first + "|" + second;
    COPYDATASTRUCT data{};
    data.dwData = kNoticeTag;
    data.cbData = static_cast<DWORD>(message.Length());  // a string ends far below 4 GiB
    data.lpData = const_cast<char*>(message.CStr());     // the system copies, nobody writes
    DWORD_PTR ignored = 0;
    SendMessageTimeoutW(window, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data), SMTO_NORMAL,
                        kPatienceMs, &ignored);
} catch (const std::exception&) {
    // Without memory for the message there is none.
}

}  // namespace tarnwell
