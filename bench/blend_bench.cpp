// Blending one picture of 256 × 256 over another, against a plain copy of the same pixels: with
// each of the drawn overlays, and with nothing but half-transparent pixels. The contenders take
// turns, and each row compares medians.

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench_rows.h"
#include "tarnwell/core/alpha_blend.h"

namespace {

using namespace tarnwell;
namespace fs = std::filesystem;

using Pixels = std::vector<std::uint8_t>;

constexpr std::uint32_t kSide = 256;
constexpr std::size_t kBytes = std::size_t{kSide} * kSide * kPixelBytes;
constexpr int kRounds = 1000;

struct Contender {
    std::string name;
    double limit;         // times the copy
    const Pixels& over;   // what is laid …
    const Pixels& under;  // … on what
    std::vector<double> times = {};
};

Pixels Filled(std::uint8_t alpha) {
    Pixels pixels(kBytes);
    std::uint32_t state = 1;
    for (std::uint8_t& byte : pixels)
        byte = static_cast<std::uint8_t>((state = state * 1103515245 + 12345) >> 24);
    for (std::size_t i = 3; i < kBytes; i += kPixelBytes)
        pixels[i] = alpha;
    return pixels;
}

void Work(const Contender& contender, Pixels& picture) {
    if (contender.limit > 0)
        BlendOver({kSide, kSide, contender.over}, {kSide, kSide, picture});
    else
        std::memcpy(picture.data(), contender.over.data(), kBytes);
    benchmark::DoNotOptimize(picture.data());
    benchmark::ClobberMemory();
}

/// Measure takes one blend, or one plain copy, with all of its bytes in the cache, on a picture
/// that is new each time: one that was blended over is opaque soon.
double Measure(const Contender& contender, Pixels& picture) {
    Work(contender, picture);
    std::memcpy(picture.data(), contender.under.data(), kBytes);
    const auto start = Clock::now();
    Work(contender, picture);
    return Milliseconds(start);
}

}  // namespace

int main() try {
    std::vector<fs::path> files(fs::directory_iterator(TARNWELL_PICTURES), {});
    std::sort(files.begin(), files.end());
    Require(!files.empty(), "no overlay has been drawn");
    std::vector<Pixels> drawn;
    for (const fs::path& path : files) {
        std::ifstream file(path, std::ios::binary);
        drawn.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        Require(drawn.back().size() == kBytes, "an overlay has another size");
    }
    const Pixels half = Filled(128);
    const Pixels opaque = Filled(255);
    const Pixels faint = Filled(100);

    std::vector<Contender> contenders{{"plain copy", 0, half, opaque}};
    for (std::size_t i = 0; i < files.size(); ++i)
        contenders.push_back({files[i].stem().string(), 3, drawn[i], opaque});
    contenders.push_back({"half-transparent over opaque pixels", 30, half, opaque});
    contenders.push_back({"half-transparent over faint pixels", 30, half, faint});

    Pixels picture(kBytes);
    for (int round = 0; round < kRounds; ++round)
        for (Contender& contender : contenders)
            contender.times.push_back(Measure(contender, picture));

    CRows rows;
    std::printf("One blend of %u x %u pixels (medians of %d rounds)\n", kSide, kSide, kRounds);
    const double copy = Median(contenders.front().times);
    rows.Print("plain copy", copy * 1000, "us");
    for (const Contender& contender : contenders)
        if (contender.limit > 0)
            rows.Print((contender.name + ", ratio to the copy").c_str(),
                       Median(contender.times) / copy, "x ", contender.limit);
    return rows.ExitStatus();
} catch (const std::exception& error) {
    return Failed("blend_bench", error);
}
