#include "tarnwell/win32/chain_engine.h"

#include "common/system/os/certificate_owners_win32.h"

namespace tarnwell {
namespace {

class CSystemChainEngine final : public CChainEngine {
public:
    std::optional<std::uint32_t> ErrorStatus(std::span<const unsigned char> der) override {
        const CUniqueCertificate certificate(CertCreateCertificateContext(
            X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size())));
        if (!certificate)
            return std::nullopt;
        CERT_CHAIN_PARA parameters = {};  // no usage is asked for
        static_assert(sizeof parameters == 32);
        parameters.cbSize = sizeof parameters;
        parameters.RequestedUsage.dwType = USAGE_MATCH_TYPE_AND;
        CUniqueCertificateChain chain;
        if (!CertGetCertificateChain(nullptr, certificate.Get(), nullptr, nullptr, &parameters,
                                     CERT_CHAIN_REVOCATION_CHECK_END_CERT, nullptr, chain.Put()))
            return std::nullopt;
        return chain.Get()->TrustStatus.dwErrorStatus;
    }
};

}  // namespace

CChainEngine& CChainEngine::System() noexcept {
    static constinit CSystemChainEngine engine;
    return engine;
}

}  // namespace tarnwell
