#pragma once

// What the fuzz targets share. A target is one source that includes this and defines Fuzz.

#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>

namespace tarnwell {

/// Fuzz is the target: it aborts where something does not hold that must. The fuzzer hands over a
/// copy that ends where its memory ends, so that reading past it is seen.
void Fuzz(std::string_view);

/// A promise that is not held is a finding.
inline void Require(bool held) {
    if (!held)
        std::abort();
}

/// TakeByte takes the first byte of the input; 0 without one.
inline std::uint8_t TakeByte(std::string_view& input) {
    const char first = input.empty() ? '\0' : input.front();
    input.remove_prefix(input.empty() ? 0 : 1);
    return static_cast<std::uint8_t>(first);
}

inline std::span<const std::uint8_t> BytesOf(std::string_view input) {
    return {reinterpret_cast<const std::uint8_t*>(input.data()), input.size()};
}
inline std::string_view TextOf(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
/// UnitsOf leaves an odd byte out.
inline std::u16string_view UnitsOf(std::string_view input) {
    return {reinterpret_cast<const char16_t*>(input.data()), input.size() / 2};
}

}  // namespace tarnwell

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tarnwell::Fuzz(tarnwell::TextOf({data, size}));
    return 0;
}
