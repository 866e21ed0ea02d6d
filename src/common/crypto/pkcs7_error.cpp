#include "common/crypto/pkcs7_error.h"

#include <array>
#include <cstddef>

namespace tarnwell {

namespace {

/// Name of a field's value: entry 0 and everything behind the last entry have none.
template <std::size_t kCount>
const char* NameAt(const std::array<const char*, kCount>& names, std::uint32_t value) noexcept {
    return value < kCount ? names[value] : "";
}

constexpr std::array kTypes = {"SIGN", "ENCRYPT", "SIGNENCRYPT", "RECOVER", "UNKNOWN"};

constexpr std::array kCauses = {
    "", "CANNOT_OPEN_FILE", "ERROR_OPENSSL", "ERROR_PK_PARAMS", "ERROR_CERT_PARAMS", "ERROR_TYPE"};

constexpr std::array kStages = {"",
                                "ERROR_WRITING_FILE",
                                "ERROR_GETTING_FILE",
                                "GET_TYPE_FAIL",
                                "GET_RECIPIENT_FAIL",
                                "GET_SIGNER_FAIL"};

constexpr std::array kOperations = {"", "ERROR_SIGN", "ERROR_ENCRYPT", "ERROR_SIGNENCRYPT",
                                    "ERROR_RECOVER"};

}  // namespace

CISOString TypeName(CPKCS7_TYPE type) {
    return NameAt(kTypes, static_cast<std::uint32_t>(type));
}

CISOString ErrorNames(CPKCS7_ERROR code) {
    const auto bits = static_cast<std::uint32_t>(code);
    if (bits & static_cast<std::uint32_t>(CPKCS7_ERROR::WRONG_CALL))
        return "WRONG_CALL";
    const std::uint32_t cause = bits & 0xF;
    const std::uint32_t stage = bits >> 4 & 0xF;
    const std::uint32_t operation = bits >> 8 & 0xF;

    // A comma stands behind a field that is set even if its value has no name, so that a reader
    // of a trace sees that something was there.
    CISOString names = NameAt(kCauses, cause);
    if (cause != 0 && (stage != 0 || operation != 0))
        names += ",";
    names += NameAt(kStages, stage);
    if (stage != 0 && operation != 0)
        names += ",";
    names += NameAt(kOperations, operation);
    return names;
}

}  // namespace tarnwell
