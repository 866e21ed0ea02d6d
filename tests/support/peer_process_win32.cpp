#include "support/peer_process_win32.h"

#include <array>
#include <stdexcept>

#include "common/system/os/windows.h"

namespace tarnwell::test {

std::filesystem::path PeerProgram() {
    std::array<wchar_t, 1024> own{};
    GetModuleFileNameW(nullptr, own.data(), static_cast<DWORD>(own.size()));
    return std::filesystem::path(own.data()).replace_filename(L"peer_process.exe");
}

CPeerProcess::CPeerProcess(const std::string& arguments, const std::filesystem::path& program)
    // The command interpreter takes the outermost quotes away. NOLINTNEXTLINE(cert-env33-c)
    : m_output(_popen(("\"\"" + program.string() + "\" " + arguments + "\"").c_str(), "r")) {
    if (!m_output)
        throw std::runtime_error("cannot start " + program.string());
}

CPeerProcess::~CPeerProcess() {
    _pclose(m_output);
}

std::string CPeerProcess::ReadLine() {
    std::array<char, 1024> line{};
    if (!std::fgets(line.data(), static_cast<int>(line.size()), m_output))
        return {};
    std::string text = line.data();
    while (text.ends_with('\n') || text.ends_with('\r'))
        text.pop_back();
    return text;
}

}  // namespace tarnwell::test
