#include "common/system/os/child_process_win32.h"

#include <cstddef>
#include <vector>

namespace tarnwell {
namespace {

/// Limits what a new process inherits to one handle. Explorer is full of inheritable handles:
/// a manager that held the other end of somebody's pipe, or of another request's, would keep its
/// reader waiting for as long as it runs.
class COnlyHandle {
public:
    explicit COnlyHandle(HANDLE handle) : m_handle(handle) {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        m_storage.resize(size);
        m_ready = InitializeProcThreadAttributeList(List(), 1, 0, &size) &&
                  UpdateProcThreadAttribute(List(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, &m_handle,
                                            sizeof m_handle, nullptr, nullptr);
    }
    ~COnlyHandle() {
        if (m_ready)
            DeleteProcThreadAttributeList(List());
    }
    COnlyHandle(const COnlyHandle&) = delete;
    COnlyHandle& operator=(const COnlyHandle&) = delete;

    bool IsReady() const noexcept { return m_ready; }
    LPPROC_THREAD_ATTRIBUTE_LIST List() noexcept {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_storage.data());
    }

private:
    HANDLE m_handle;  // the list points here
    std::vector<std::byte> m_storage;
    bool m_ready = false;
};

}  // namespace

CUniqueHandle StartWithOutput(const CUTF16String& commandLine, HANDLE output) {
    COnlyHandle inherited(output);
    if (!inherited.IsReady())
        return {};
    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof startup;
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdOutput = output;
    startup.StartupInfo.hStdError = output;
    startup.lpAttributeList = inherited.List();

    // The system writes into the command line while it looks for the program's name in it.
    std::vector<wchar_t> line(Wide(commandLine), Wide(commandLine) + commandLine.Length() + 1);
    PROCESS_INFORMATION started{};
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, EXTENDED_STARTUPINFO_PRESENT,
                        nullptr, nullptr, &startup.StartupInfo, &started))
        return {};
    CloseHandle(started.hThread);
    return CUniqueHandle(started.hProcess);
}

}  // namespace tarnwell
