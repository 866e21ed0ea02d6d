#pragma once

// A program that runs beside the test and says lines on its standard output.

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "common/system/os/install_paths.h"

namespace tarnwell::test {

/// PeerProgram is the path of tests/programs/peer_process as it was built.
inline std::filesystem::path PeerProgram() {
    return std::filesystem::path(ModulePath().AsView()).replace_filename("peer_process.exe");
}

class CPeerProcess {
public:
    /// Starts `program` with `arguments`. Throws std::runtime_error if it cannot be started.
    explicit CPeerProcess(const std::string& arguments,
                          const std::filesystem::path& program = PeerProgram())
        // The command interpreter takes the outermost quotes away. NOLINTNEXTLINE(cert-env33-c)
        : m_output(_popen(("\"\"" + program.string() + "\" " + arguments + "\"").c_str(), "r")) {
        if (!m_output)
            throw std::runtime_error("cannot start " + program.string());
    }
    CPeerProcess(const CPeerProcess&) = delete;
    CPeerProcess& operator=(const CPeerProcess&) = delete;
    /// Waits for the program's end.
    ~CPeerProcess() { _pclose(m_output); }

    /// ReadLine waits for the next line and gives it without its end; "" when there is none.
    std::string ReadLine() {
        char line[1024] = "";
        (void)std::fgets(line, sizeof line, m_output);
        const std::string text = line;
        return text.substr(0, text.find_first_of("\r\n"));
    }

private:
    std::FILE* m_output;
};

}  // namespace tarnwell::test
