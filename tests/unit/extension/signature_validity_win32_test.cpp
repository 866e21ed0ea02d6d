#include "tarnwell/win32/shellicon.h"

#include "common/crypto/pkcs7_request.h"
#include "icon_fixture.h"
#include "support/heap_checks.h"
#include "tarnwell/win32/resources/resource_ids.h"

namespace tarnwell::test {
namespace {

constexpr std::uint32_t kRevoked = 0x4;
constexpr std::uint32_t kOffline = 0x01000040;

TEST(SignatureValidity, AsksOnlyAboutVerifiedSignersUpToTheFirstBadOne) {
    constexpr const char* kInvalid = "Certificate is invalide";
    const struct {
        const char* file;
        CScriptedEngine::Answers answers;
        std::uint16_t icon;
        std::size_t asked;
        const char* message = nullptr;
    } rows[] = {
        {"bc-rsa.p7", {0}, TARNWELL_ICON_VALID, 1},
        {"bc-rsa.p7", {{}}, TARNWELL_ICON_INVALID, 1, "Unable to get the Certificateion chain"},
        {"bc-three.p7", {0, kRevoked}, TARNWELL_ICON_INVALID, 2, kInvalid},
        {"bc-three.p7", {0, 0, kOffline | kRevoked}, TARNWELL_ICON_INVALID, 3, kInvalid},
        {"hand-signers-50.p7", {0}, TARNWELL_ICON_VALID, 50},
        {"hand-one-good-one-bad.p7", {0}, TARNWELL_ICON_INVALID, 1},
        {"hand-bad-content.p7", {0}, TARNWELL_ICON_INVALID, 0},
        {"hand-cert-empty-set.p7", {0}, TARNWELL_ICON_INVALID, 0},
        {"capi-sae-1x1.p7m", {0}, TARNWELL_ICON_INVALID, 0},  // unreadable without a key
        {"hand-no-signers.p7", {0}, TARNWELL_ICON_VALID, 0},
    };
    for (const auto& row : rows) {
        if (row.asked > Size(50u, 3u))
            continue;
        SCOPED_TRACE(row.file);
        CScriptedEngine engine(row.answers);
        const CTraceListener trace;
        EXPECT_EQ(Get_overlay_signature_validity(Utf16(Sample(row.file)), engine), row.icon);
        EXPECT_EQ(engine.asked, row.asked);
        EXPECT_EQ(trace.Messages(), row.message ? Strings{row.message} : Strings());
        EXPECT_EQ(trace.Lines().front(), "enter Get_overlay_signature_validity");
        EXPECT_EQ(trace.Lines().back(), "leave Get_overlay_signature_validity");
    }
}

TEST(SignatureValidity, ToleratesOnlyThatRevocationCannotBeLookedUp) {
    CPKCS7Request file(Utf16(Sample("bc-rsa.p7")));
    const CUniqueSignerList signers = file->GetSigners(nullptr, nullptr);
    for (std::uint32_t bit = 1; bit != 0; bit <<= 1) {
        CScriptedEngine engine({bit});
        EXPECT_EQ(JudgeSigners(*signers.Get(), engine),
                  (bit & kOffline) != 0 ? TARNWELL_ICON_VALID : TARNWELL_ICON_INVALID)
            << std::hex << bit;
    }
}

TEST(SignatureValidity, IsInvalidForACertificateWithoutEncoding) {
    const CUniqueX509 unfinished(X509_new());
    for (X509* certificate : {unfinished.Get(), static_cast<X509*>(nullptr)}) {
        CSignerList signers;
        signers.push_back(std::make_unique<SignerInfo>(SignerInfo{nullptr, true, certificate}));
        CScriptedEngine engine({0});
        const CTraceListener trace;
        EXPECT_EQ(JudgeSigners(signers, engine), TARNWELL_ICON_INVALID);
        EXPECT_EQ(engine.asked, 0u);
        EXPECT_EQ(trace.Messages(), Strings{"Could not transform x509 into binaray"});
    }
}

TEST(SignatureValidity, AsksOnceAboutACertificateThatSignedSeveralTimes) {
    CPKCS7Request file(Utf16(Sample("bc-three.p7")));
    const CUniqueSignerList list = file->GetSigners(nullptr, nullptr);
    CSignerList signers;
    for (int round = 0; round < 20; ++round)
        for (const auto& signer : *list.Get())
            signers.push_back(std::make_unique<SignerInfo>(*signer));
    CScriptedEngine engine({0});
    EXPECT_EQ(JudgeSigners(signers, engine), TARNWELL_ICON_VALID);
    EXPECT_EQ(engine.asked, 3u);
}

}  // namespace
}  // namespace tarnwell::test
