#include "manager/log_file_win32.h"

#include "common/system/os/long_path.h"
#include "common/system/os/windows.h"

namespace tarnwell::manager {
namespace {

constexpr std::uint64_t kMaxSize = 1024 * 1024;

void SetAsideIfLarge(const CUTF16String& path) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!GetFileAttributesExW(Wide(path), GetFileExInfoStandard, &data))
        return;
    const std::uint64_t size = std::uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow;
    if (size > kMaxSize)
        MoveFileExW(Wide(path), Wide(path + u".old"), MOVEFILE_REPLACE_EXISTING);
}

}  // namespace

CLogFile::CLogFile(const std::u16string& path) {
    const CUTF16String openable = OpenablePath(CUTF16String(path));
    SetAsideIfLarge(openable);
    m_file.Reset(CreateFileW(Wide(openable), FILE_APPEND_DATA,
                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                             OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

void CLogFile::Write(std::string_view line) {
    DWORD written = 0;
    if (m_file)
        WriteFile(m_file.Get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

}  // namespace tarnwell::manager
