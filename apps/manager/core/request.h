#pragma once

// What a request asks for, or why it is refused. Everything in a request is hostile until judged:
// any web page in the user's browser can reach the loopback address, and any program can send what
// it likes. Pure; any thread may call.

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "common/crypto/pkcs7_error.h"

namespace tarnwell::manager {

/// A request that may be carried out: the comma-joined paths are decoded but not yet taken apart.
struct Command {
    CPKCS7_TYPE action = CPKCS7_TYPE::UNKNOWN;  // SIGN, ENCRYPT, SIGNENCRYPT or RECOVER
    std::string files;                          // UTF-8
};

/// The answer to a request that is not carried out.
struct Refusal {
    int status = 400;
    std::string why;  // a sentence for the log and for the answer's body
};

using Judgement = std::variant<Command, Refusal>;

/// JudgeRequest reads a request head (RFC 9112, sections 2 to 5) received on `port` of 127.0.0.1.
/// The checks come in this order: syntax, path, method, Host, Origin (exactly `origin`), query.
Judgement JudgeRequest(std::string_view head, std::uint16_t port, std::string_view origin);

}  // namespace tarnwell::manager
