#pragma once

// Times as people read them: in the local time zone and the user's own spelling of date and time.
// The locale of the process is the explorer's, and stays as it is. Any thread may call.

#include <cstdint>

#include <openssl/asn1.h>

#include "common/system/text/string.h"

namespace tarnwell {

/// TimeToText gives the moment as LocalTimeText spells it in the user's locale, as UTF-8; "" for
/// what Asn1TimeToTime does not convert, null included.
CISOString TimeToText(const ASN1_TIME* time);

/// LocalTimeText spells `seconds` since 1970-01-01 UTC as the runtime library's "%c" does in
/// `locale` (the system's name for it; "" is the user's default), as UTF-8. "" where that takes 80
/// wide characters or more, for an unknown locale, and for a moment that the library cannot break
/// down (on Windows: before 1970).
CISOString LocalTimeText(std::int64_t seconds, const char* locale = "");

}  // namespace tarnwell
