// What loading a language catalogue costs, beside what unpacking its archive entry costs alone:
// 5,000 keys in 50 groups, 1 MB of text. The row "LoadOverExtract" takes both in turn in one run
// and prints the ratio of the medians, which is to stay below 3.

#include <benchmark/benchmark.h>
#include <miniz.h>

#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "bench_rows.h"
#include "common/system/lang/catalogue.h"

namespace {

using namespace tarnwell;

constexpr int kGroups = 50;
constexpr int kKeysPerGroup = 100;
constexpr std::size_t kCatalogueBytes = 1'000'000;
constexpr int kRounds = 200;

/// Numbers that are the same in every run (Knuth's MMIX constants).
class CNumbers {
public:
    std::uint32_t Below(std::uint32_t limit) {
        m_state = m_state * 6364136223846793005 + 1442695040888963407;
        return static_cast<std::uint32_t>(m_state >> 33) % limit;
    }

private:
    std::uint64_t m_state = 2026;
};

/// Words of two to four syllables; common ones come more often, as in any language.
class CVocabulary {
public:
    explicit CVocabulary(CNumbers& numbers) : m_numbers(numbers) {
        static const char* const syllables[] = {"si",   "gner", "chif", "fré", "le", "do", "cu",
                                                "ment", "con",  "ve",   "la",  "ta", "ri", "on",
                                                "por",  "te",   "és",   "ein", "au", "x"};
        for (std::string& word : m_words)
            for (std::uint32_t i = 2 + m_numbers.Below(3); i > 0; --i)
                word += syllables[m_numbers.Below(std::size(syllables))];
    }
    const std::string& Word() { return m_words[m_numbers.Below(1 + m_numbers.Below(kWords))]; }

private:
    CNumbers& m_numbers;
    static constexpr std::uint32_t kWords = 2000;
    std::string m_words[kWords];
};

std::string MakeCatalogue() {
    CNumbers numbers;
    CVocabulary vocabulary(numbers);
    constexpr std::size_t kEntryBytes = kCatalogueBytes / (kGroups * kKeysPerGroup);
    std::string text = "var language = {";
    for (int group = 0; group < kGroups; ++group) {
        text += "\n  \"" + vocabulary.Word() + std::to_string(group) + "\": {";
        for (int key = 0; key < kKeysPerGroup; ++key) {
            const std::size_t end = text.size() + kEntryBytes;
            text += "\n    \"" + vocabulary.Word() + "_" + std::to_string(key) + "\": \"";
            while (text.size() < end)
                text += vocabulary.Word() + (numbers.Below(12) == 0 ? ", " : " ");
            // One text in ten has an escape in it.
            text += numbers.Below(10) == 0 ? "\\n\"," : "\",";
        }
        text += "\n  },";
    }
    return text + "\n};\n";
}

std::vector<unsigned char> Zip(const std::string& name, const std::string& text) {
    mz_zip_archive zip = {};
    void* block = nullptr;
    std::size_t size = 0;
    if (!mz_zip_writer_init_heap(&zip, 0, 0) ||
        !mz_zip_writer_add_mem(&zip, name.c_str(), text.data(), text.size(),
                               MZ_DEFAULT_COMPRESSION) ||
        !mz_zip_writer_finalize_heap_archive(&zip, &block, &size))
        std::abort();
    const auto* const bytes = static_cast<const unsigned char*>(block);
    std::vector<unsigned char> archive(bytes, bytes + size);
    mz_free(block);
    mz_zip_writer_end(&zip);
    return archive;
}

const CISOString& EntryName() {
    static const CISOString name = CatalogueEntryName("fr");
    return name;
}

const std::vector<unsigned char>& Archive() {
    static const std::vector<unsigned char> archive = Zip(EntryName().CStr(), MakeCatalogue());
    return archive;
}

/// Extract is what miniz alone needs, from the archive's bytes to the entry's.
void Extract() {
    mz_zip_archive zip = {};
    mz_zip_archive_file_stat status;
    const std::vector<unsigned char>& archive = Archive();
    if (!mz_zip_reader_init_mem(&zip, archive.data(), archive.size(), 0))
        std::abort();
    const auto index =
        static_cast<mz_uint>(mz_zip_reader_locate_file(&zip, EntryName().CStr(), nullptr, 0));
    if (!mz_zip_reader_file_stat(&zip, index, &status))
        std::abort();
    const auto size = static_cast<std::size_t>(status.m_uncomp_size);
    const auto text = std::make_unique_for_overwrite<unsigned char[]>(size);
    if (!mz_zip_reader_extract_to_mem(&zip, index, text.get(), size, 0))
        std::abort();
    benchmark::DoNotOptimize(text.get());
    mz_zip_reader_end(&zip);
}

CJSValueOwner Load() {
    auto root = ReadCatalogue(Archive(), EntryName());
    if (!root || (*root)->Count() != kGroups || (*root)->Element(7).Count() != kKeysPerGroup)
        std::abort();
    return std::move(*root);
}

template <class Action>
double Took(Action action) {
    const auto start = Clock::now();
    action();
    return Milliseconds(start);
}

void ExtractAlone(benchmark::State& state) {
    while (state.KeepRunning())
        Extract();
}
BENCHMARK(ExtractAlone)->Unit(benchmark::kMillisecond);

void LoadAndDrop(benchmark::State& state) {
    while (state.KeepRunning())
        benchmark::DoNotOptimize(Load());
}
BENCHMARK(LoadAndDrop)->Unit(benchmark::kMillisecond);

void LoadOverExtract(benchmark::State& state) {
    std::vector<double> extract, load, whole;
    while (state.KeepRunning()) {
        extract.push_back(Took(Extract));
        CJSValueOwner root = CJSValue::UndefinedOwner();
        load.push_back(Took([&] { root = Load(); }));
        whole.push_back(load.back() + Took([&] { root.reset(); }));
    }
    state.counters["extract_ms"] = Median(extract);
    state.counters["load_ms"] = Median(load);
    state.counters["ratio"] = Median(load) / Median(extract);
    state.counters["ratio_with_drop"] = Median(whole) / Median(extract);
}
BENCHMARK(LoadOverExtract)->Iterations(kRounds)->Unit(benchmark::kMillisecond);

}  // namespace
