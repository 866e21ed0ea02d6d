#pragma once

// The bytes of a refusal. Accepted requests are answered by the shared response writer, whose
// status is always 200. Pure; any thread may call.

#include <string>
#include <string_view>

#include "manager/core/request.h"

namespace tarnwell::manager {

/// ReasonPhrase gives the registered phrase of the status codes that the manager answers with
/// (RFC 9110, section 15; RFC 6585), "Error" for any other.
std::string_view ReasonPhrase(int status);

/// RefusalResponse is a whole response: head and a body of one line that says why. It carries no
/// Access-Control-Allow-Origin, so no web page can read it.
std::string RefusalResponse(const Refusal& refusal);

}  // namespace tarnwell::manager
