// Times as a file can have them: the first byte is the type, the rest the octets. Whatever they
// are, the answers agree with each other.

#include <ctime>

#include "common/crypto/asn1_time.h"
#include "common/crypto/openssl_owners.h"
#include "common/crypto/time_text.h"
#include "fuzz_support.h"

void tarnwell::Fuzz(std::string_view octets) {
    const int type = TakeByte(octets);
    const CUnique<CPointerTraits<ASN1_STRING, ASN1_STRING_free>> time(ASN1_STRING_type_new(type));
    ASN1_STRING_set(time.Get(), octets.data(), static_cast<int>(octets.size()));

    int status = -1;
    const std::int64_t seconds = Asn1TimeToTime(time.Get(), &status);
    Require(Asn1TimeToTime(time.Get(), nullptr) == seconds);
    const std::optional<Asn1TimeParts> parts = ReadAsn1Time(time.Get());
    Require((status == kTimeIllFormed) == !parts);
    Require(status == kTimeConverted || (seconds == 0 && TimeToText(time.Get()).IsEmpty()));
    const CISOString iso = Asn1TimeToIso(time.Get());
    if (!parts) {
        Require(iso.IsEmpty());
        return;
    }
    Require(iso.IsEmpty() || iso.Length() == 20);
    Require(parts->month >= 1 && parts->month <= 12 && parts->day >= 1 && parts->day <= 31);
    Require(parts->isLocalTime || status == kTimeOutOfRange ||
            (seconds < 0) == (parts->year < 1970));
    // Where the years' seconds fit 32 bits, the system's calendar has the same moment.
    if (!iso.IsEmpty() && status == kTimeConverted && parts->year >= 1902 && parts->year <= 2038) {
        char text[32];
        const std::time_t moment = seconds;
        Require(std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&moment)) > 0 &&
                iso == text);
    }
    if (status == kTimeConverted)
        Require(!TimeToText(time.Get()).IsEmpty());
}
