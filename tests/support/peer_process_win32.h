#pragma once

// A program that runs beside the test and says lines on its standard output.

#include <cstdio>
#include <filesystem>
#include <string>

namespace tarnwell::test {

/// PeerProgram is the path of tests/programs/peer_process as it was built.
std::filesystem::path PeerProgram();

class CPeerProcess {
public:
    /// Starts `program` with `arguments`. Throws std::runtime_error if it cannot be started.
    explicit CPeerProcess(const std::string& arguments,
                          const std::filesystem::path& program = PeerProgram());
    CPeerProcess(const CPeerProcess&) = delete;
    CPeerProcess& operator=(const CPeerProcess&) = delete;
    /// Waits for the program's end.
    ~CPeerProcess();

    /// ReadLine waits for the next line and gives it without its end; "" when there is none.
    std::string ReadLine();

private:
    std::FILE* m_output;
};

}  // namespace tarnwell::test
