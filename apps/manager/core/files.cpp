#include "manager/core/files.h"

#include <array>

#include <openssl/rand.h>

#include "common/system/text/exception.h"

namespace tarnwell::manager {

std::u16string SideName() {
    std::array<unsigned char, 8> bytes{};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
        throw CException("The system gave no random numbers.");
    constexpr std::u16string_view kDigits = u"0123456789abcdef";
    std::u16string name = u"~corvane-";
    for (const unsigned char byte : bytes) {
        name.push_back(kDigits[byte >> 4]);
        name.push_back(kDigits[byte & 0xF]);
    }
    return name + u".tmp";
}

}  // namespace tarnwell::manager
