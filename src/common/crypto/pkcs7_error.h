#pragma once

// What a PKCS#7 file is and what can go wrong with one: the two enumerations that the container,
// its callers and the manager share, and their names. Pure; any thread may call.

#include <cstdint>

#include "common/system/text/string.h"

namespace tarnwell {

/// The kind of a file and, with RECOVER, the action that is asked of the manager.
enum class CPKCS7_TYPE : std::uint32_t {
    SIGN = 0,
    ENCRYPT = 1,
    SIGNENCRYPT = 2,
    RECOVER = 3,  ///< an action only; no file is of this type
    UNKNOWN = 4,
};

/// A code of independent fields: cause (0x00F), stage (0x0F0), operation (0xF00). The container
/// stores it and throws it as it is.
enum class CPKCS7_ERROR : std::uint32_t {
    NONE = 0,

    CANNOT_OPEN_FILE = 0x1,
    ERROR_OPENSSL = 0x2,
    ERROR_PK_PARAMS = 0x3,
    ERROR_CERT_PARAMS = 0x4,
    ERROR_TYPE = 0x5,

    ERROR_WRITING_FILE = 0x10,
    ERROR_GETTING_FILE = 0x20,
    GET_TYPE_FAIL = 0x30,
    GET_RECIPIENT_FAIL = 0x40,
    GET_SIGNER_FAIL = 0x50,

    ERROR_SIGN = 0x100,
    ERROR_ENCRYPT = 0x200,
    ERROR_SIGNENCRYPT = 0x300,
    ERROR_RECOVER = 0x400,

    WRONG_CALL = 0xF00000,  ///< any bit of it
};

/// Joins fields of different masks to one code.
constexpr CPKCS7_ERROR operator|(CPKCS7_ERROR a, CPKCS7_ERROR b) noexcept {
    return static_cast<CPKCS7_ERROR>(static_cast<std::uint32_t>(a) | static_cast<std::uint32_t>(b));
}

/// TypeName gives "SIGN", "ENCRYPT", "SIGNENCRYPT", "RECOVER" or "UNKNOWN", and "" for a value
/// that is none of them.
CISOString TypeName(CPKCS7_TYPE type);

/// ErrorNames gives the names of the fields that are set, joined by commas: 0x402 is
/// "ERROR_OPENSSL,ERROR_RECOVER", 0 is "".
CISOString ErrorNames(CPKCS7_ERROR code);

}  // namespace tarnwell
