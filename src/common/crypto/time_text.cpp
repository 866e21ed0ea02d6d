#include "common/crypto/time_text.h"

#include "common/crypto/asn1_time.h"

namespace tarnwell {

CISOString TimeToText(const ASN1_TIME* time) {
    int status = kTimeIllFormed;
    const std::int64_t seconds = Asn1TimeToTime(time, &status);
    return status == kTimeConverted ? LocalTimeText(seconds) : CISOString();
}

}  // namespace tarnwell
