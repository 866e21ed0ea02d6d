// Reading signed files: one of 200 MiB against the openssl program, and 2,000 small ones against
// the bare OpenSSL calls. Each row's contenders take turns, and the row compares their medians.

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "bench_rows.h"
#include "bench_signed_files.h"
#include "common/crypto/pkcs7_request.h"

namespace {

using namespace tarnwell;
namespace fs = std::filesystem;

constexpr std::size_t kLargeContent = 200 << 20;
constexpr int kLargeRounds = 7;
constexpr int kSmallFiles = 2000;
constexpr std::size_t kSmallContent = 1500;  // makes a file of about 3 KB
constexpr int kSmallRounds = 9;

void ReadSigners(const fs::path& path) {
    CPKCS7Request file(Utf16(path));
    const CUniqueSignerList signers = file->GetSigners(nullptr, nullptr);
    Require(signers.Get()->size() == 1 && signers.Get()->front()->verified, "it must verify");
}

/// What a process of its own took.
struct Cost {
    double milliseconds;
    double peakMegabytes;
};

Cost Waited(pid_t child, Clock::time_point start) {
    int status = 0;
    rusage usage{};
    Require(wait4(child, &status, 0, &usage) == child, "wait4 failed");
    const double time = Milliseconds(start);
    Require(WIFEXITED(status) && WEXITSTATUS(status) == 0, "a contender failed");
    return {time, static_cast<double>(usage.ru_maxrss) / 1024};
}

Cost InChild(const std::function<void()>& work) {
    const auto start = Clock::now();
    const pid_t child = fork();
    Require(child >= 0, "fork failed");
    if (child == 0) {
        try {
            work();
            _exit(0);
        } catch (...) {
            _exit(1);
        }
    }
    return Waited(child, start);
}

Cost OpenSslProgram(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "openssl");
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int stream : {1, 2})
        posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const auto start = Clock::now();
    const int failed = posix_spawnp(&child, "openssl", &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    Require(!failed, "the openssl program is missing");
    return Waited(child, start);
}

void LargeFile(const Signer& signer, const fs::path& folder, CRows& rows) {
    fs::path path;
    // Made in a process of its own, so that this one stays small when it forks.
    InChild([&] { MakeSigned(signer, folder / "large", kLargeContent); });
    path = folder / "large.p7";
    const double fileMegabytes = static_cast<double>(fs::file_size(path)) / (1 << 20);
    std::vector<double> own, digest, verify;
    double peak = 0;
    for (int round = 0; round < kLargeRounds; ++round) {
        const Cost cost = InChild([&] { ReadSigners(path); });
        own.push_back(cost.milliseconds);
        peak = std::max(peak, cost.peakMegabytes);
        digest.push_back(OpenSslProgram({"dgst", "-sha256", path}).milliseconds);
        verify.push_back(OpenSslProgram({"cms", "-verify", "-noverify", "-binary", "-inform", "DER",
                                         "-in", path, "-out", "/dev/null"})
                             .milliseconds);
    }
    std::printf("A signed DER file of %.0f MiB (medians of %d rounds)\n", fileMegabytes,
                kLargeRounds);
    rows.Print("signers read and verified", Median(own), "ms");
    rows.Print("openssl dgst -sha256", Median(digest), "ms");
    rows.Print("openssl cms -verify", Median(verify), "ms");
    rows.Print("ratio to openssl dgst", Median(own) / Median(digest), "x ", 2.0);
    rows.Print("ratio to openssl cms", Median(own) / Median(verify), "x ", 0.5);
    rows.Print("peak memory, ratio to the file", peak / fileMegabytes, "x ", 2.1);
}

void SmallFiles(const Signer& signer, const fs::path& folder, CRows& rows) {
    const fs::path one = MakeSigned(signer, folder / "small", kSmallContent);
    std::vector<fs::path> paths;
    std::vector<std::string> contents;
    for (int i = 0; i < kSmallFiles; ++i) {
        paths.push_back(folder / ("small" + std::to_string(i) + ".p7"));
        fs::copy_file(one, paths.back());
        std::ifstream file(paths.back(), std::ios::binary);
        contents.emplace_back(std::istreambuf_iterator<char>(file),
                              std::istreambuf_iterator<char>());
    }
    std::vector<double> own, bare;
    for (int round = 0; round < kSmallRounds; ++round) {
        auto start = Clock::now();
        for (const fs::path& path : paths)
            ReadSigners(path);
        own.push_back(Milliseconds(start));
        start = Clock::now();
        for (const std::string& bytes : contents)
            BareCalls(bytes);
        bare.push_back(Milliseconds(start));
    }
    std::printf("%d signed files of %.1f KB in one process (medians of %d rounds)\n", kSmallFiles,
                static_cast<double>(contents[0].size()) / 1000, kSmallRounds);
    rows.Print("files opened, signers read and verified", Median(own), "ms");
    rows.Print("bare OpenSSL calls on the same bytes in memory", Median(bare), "ms");
    rows.Print("ratio", Median(own) / Median(bare), "x ", 1.3);
}

}  // namespace

int main() try {
    CRows rows;
    const BenchFolder folder;
    const Signer signer;
    LargeFile(signer, folder.path, rows);
    SmallFiles(signer, folder.path, rows);
    return rows.ExitStatus();
} catch (const std::exception& error) {
    return Failed("container_bench", error);
}
