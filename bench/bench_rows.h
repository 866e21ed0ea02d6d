#pragma once

// What the benchmarks with a table of their own share: times, medians, rows and their limits.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <vector>

namespace tarnwell {

inline void Require(bool condition, const char* what) {
    if (!condition)
        throw std::runtime_error(what);
}

using Clock = std::chrono::steady_clock;

/// Milliseconds gives the time since `start`.
inline double Milliseconds(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

inline double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

/// Failed says why a benchmark ended early, and gives its exit status.
inline int Failed(const char* program, const std::exception& error) {
    static_cast<void>(std::fprintf(stderr, "%s: %s\n", program, error.what()));
    return 1;
}

/// Prints rows and remembers whether one of them missed its limit.
class CRows {
public:
    /// Print prints a row; `limit` 0 is none.
    void Print(const char* name, double value, const char* unit, double limit = 0) {
        std::printf("  %-58s %8.2f %s", name, value, unit);
        if (limit > 0) {
            const bool met = value <= limit;
            std::printf("   at most %.1f: %s", limit, met ? "met" : "MISSED");
            m_missed = m_missed || !met;
        }
        std::printf("\n");
        std::fflush(stdout);
    }

    /// ExitStatus is 1 if a row missed its limit.
    int ExitStatus() const noexcept { return m_missed ? 1 : 0; }

private:
    bool m_missed = false;
};

}  // namespace tarnwell
