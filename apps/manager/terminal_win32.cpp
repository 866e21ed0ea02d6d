#include "manager/terminal_win32.h"

#include <string>

#include "common/system/os/owners_win32.h"
#include "common/system/os/windows.h"
#include "common/system/text/convert.h"

namespace tarnwell::manager {
namespace {

bool IsUsable(HANDLE handle) {
    return handle != nullptr && handle != INVALID_HANDLE_VALUE;
}

bool WriteBytes(HANDLE handle, std::string_view bytes) {
    DWORD written = 0;
    return WriteFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
           written == bytes.size();
}

bool WriteToConsole(HANDLE console, std::string_view text) {
    const CUTF16String wide = Utf16FromUtf8(text);
    DWORD written = 0;
    return WriteConsoleW(console, Wide(wide), static_cast<DWORD>(wide.Length()), &written, nullptr);
}

/// The console of the process that started this one, if it has one.
bool WriteToParentConsole(std::string_view text) {
    if (!AttachConsole(ATTACH_PARENT_PROCESS))
        return false;
    const CUniqueFile console(CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                          OPEN_EXISTING, 0, nullptr));
    // The shell does not wait for this program: start behind its prompt.
    const std::string lines = "\r\n" + std::string(text) + "\r\n";
    const bool written = console && WriteToConsole(console.Get(), lines);
    FreeConsole();
    return written;
}

}  // namespace

void ShowText(std::string_view text) {
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    if (IsUsable(output)) {
        const bool isConsole = GetConsoleMode(output, &mode) != 0;
        if (isConsole ? WriteToConsole(output, text) : WriteBytes(output, text))
            return;
    } else if (WriteToParentConsole(text)) {
        return;
    }
    MessageBoxW(nullptr, Wide(Utf16FromUtf8(text)), L"Corvane", MB_OK | MB_ICONINFORMATION);
}

bool AnnouncePort(std::uint16_t port) {
    const std::string digits = std::to_string(port);
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    if (!IsUsable(output))
        return WriteToParentConsole(digits);
    const bool written = WriteBytes(output, digits);
    const HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
    SetStdHandle(STD_OUTPUT_HANDLE, nullptr);
    SetStdHandle(STD_ERROR_HANDLE, nullptr);
    CloseHandle(output);
    if (IsUsable(error) && error != output)
        CloseHandle(error);
    return written;
}

}  // namespace tarnwell::manager
