#include "common/tls/server_trust.h"

#include <limits>

#include "common/system/os/certificate_owners_win32.h"
#include "common/system/text/convert.h"

namespace tarnwell {
namespace {

/// BuildChain asks the default engine for the chain to a root. No store is handed along: what a
/// server sends to complete its own chain is not taken as help.
CUniqueCertificateChain BuildChain(const CERT_CONTEXT* certificate) {
    char serverAuthentication[] = szOID_PKIX_KP_SERVER_AUTH;
    LPSTR usages[] = {serverAuthentication};
    CERT_CHAIN_PARA wanted{};
    wanted.cbSize = sizeof wanted;
    wanted.RequestedUsage.dwType = USAGE_MATCH_TYPE_AND;
    wanted.RequestedUsage.Usage.cUsageIdentifier = 1;
    wanted.RequestedUsage.Usage.rgpszUsageIdentifier = usages;

    CUniqueCertificateChain chain;
    if (!CertGetCertificateChain(nullptr, certificate, nullptr, nullptr, &wanted,
                                 CERT_CHAIN_REVOCATION_CHECK_CHAIN_EXCLUDE_ROOT, nullptr,
                                 chain.Put()))
        return CUniqueCertificateChain();
    return chain;
}

/// EndsInARoot: Windows' policy refuses a chain that stops before a root by itself, but what stands
/// in for Windows elsewhere (Wine 8) lets it pass.
bool EndsInARoot(const CERT_CHAIN_CONTEXT* chain) noexcept {
    return (chain->TrustStatus.dwErrorStatus & CERT_TRUST_IS_PARTIAL_CHAIN) == 0;
}

/// MeetsPolicy holds the chain to the rules for a TLS server of this name, none waived.
bool MeetsPolicy(const CERT_CHAIN_CONTEXT* chain, const CISOString& host) {
    CUTF16String name = Utf16FromUtf8(host);
    SSL_EXTRA_CERT_CHAIN_POLICY_PARA server{};
    server.cbSize = sizeof server;
    server.dwAuthType = AUTHTYPE_SERVER;
    server.pwszServerName = const_cast<wchar_t*>(Wide(name));  // only read
    CERT_CHAIN_POLICY_PARA policy{};
    policy.cbSize = sizeof policy;
    policy.pvExtraPolicyPara = &server;
    CERT_CHAIN_POLICY_STATUS status{};
    status.cbSize = sizeof status;
    return CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_SSL, chain, &policy, &status) &&
           status.dwError == 0;
}

class CSystemTrust : public IServerTrust {
public:
    bool Trusts(std::span<const std::uint8_t> certificate, const CISOString& host) override {
        if (certificate.size() > std::numeric_limits<DWORD>::max())
            return false;
        const CUniqueCertificate context(CertCreateCertificateContext(
            X509_ASN_ENCODING, certificate.data(), static_cast<DWORD>(certificate.size())));
        if (!context)
            return false;
        const CUniqueCertificateChain chain = BuildChain(context.Get());
        return chain && EndsInARoot(chain.Get()) && MeetsPolicy(chain.Get(), host);
    }
};

}  // namespace

IServerTrust& IServerTrust::System() noexcept {
    static CSystemTrust windows;
    return windows;
}

}  // namespace tarnwell
