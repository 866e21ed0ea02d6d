#include "tarnwell/win32/shellicon.h"

#include <algorithm>
#include <set>
#include <vector>

#include "common/crypto/openssl_owners.h"
#include "common/crypto/pkcs7_request.h"
#include "common/system/trace/trace.h"
#include "tarnwell/win32/resources/resource_ids.h"

namespace tarnwell {
namespace {

using Der = std::vector<unsigned char>;

/// The chain's errors that only say that its revocation could not be looked up:
/// CERT_TRUST_REVOCATION_STATUS_UNKNOWN and CERT_TRUST_IS_OFFLINE_REVOCATION of wincrypt.h, which
/// cannot be included beside OpenSSL's headers.
constexpr std::uint32_t kToleratedErrors = 0x00000040 | 0x01000000;

/// The certificate's encoding; empty if it has none or is null.
Der Encoded(X509* certificate) {
    CUniqueOpenSslBytes bytes;
    const int length = certificate ? i2d_X509(certificate, bytes.Put()) : 0;
    return Der(bytes.Get(), bytes.Get() + std::max(length, 0));
}

bool IsTrusted(const Der& certificate, CChainEngine& engine) {
    const std::optional<std::uint32_t> errors = engine.ErrorStatus(certificate);
    if (!errors) {
        TraceString("Unable to get the Certificateion chain");
        return false;
    }
    if ((*errors & ~kToleratedErrors) != 0) {
        TraceString("Certificate is invalide");
        return false;
    }
    return true;
}

}  // namespace

std::uint16_t JudgeSigners(const CSignerList& signers, CChainEngine& engine) {
    std::set<Der> trusted;
    for (const auto& signer : signers) {
        if (!signer->verified)
            return TARNWELL_ICON_INVALID;
        Der certificate = Encoded(signer->certificate);
        if (certificate.empty()) {
            TraceString("Could not transform x509 into binaray");
            return TARNWELL_ICON_INVALID;
        }
        if (trusted.contains(certificate))
            continue;
        if (!IsTrusted(certificate, engine))
            return TARNWELL_ICON_INVALID;
        trusted.insert(std::move(certificate));
    }
    return TARNWELL_ICON_VALID;
}

std::uint16_t Get_overlay_signature_validity(const CUTF16String& path, CChainEngine& engine) {
    const CTraceScope scope("Get_overlay_signature_validity");
    CPKCS7Request file(path);
    return JudgeSigners(*file->GetSigners(nullptr, nullptr).Get(), engine);
}

}  // namespace tarnwell
