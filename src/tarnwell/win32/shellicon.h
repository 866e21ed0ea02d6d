#pragma once

// What the icon of a signed file says about its signatures. Called by the icon handler on the
// thread that explorer asks on: the verdict may wait for a revocation service.

#include <cstdint>

#include "common/crypto/pkcs7.h"
#include "tarnwell/win32/chain_engine.h"

namespace tarnwell {

/// Get_overlay_signature_validity gives the icon resource TARNWELL_ICON_VALID or
/// TARNWELL_ICON_INVALID for the signed file at `path`: JudgeSigners of its signers. Throws what
/// reading them throws: CException where the file cannot be read, CPKCS7_ERROR where it is not
/// signed.
std::uint16_t Get_overlay_signature_validity(const CUTF16String& path,
                                             CChainEngine& engine = CChainEngine::System());

/// JudgeSigners gives TARNWELL_ICON_VALID if every signature verifies and `engine` finds every
/// signer's certificate good, an unreachable revocation service apart; also for no signer at all.
/// Signers are judged in order up to the first bad one; a certificate is asked about once.
std::uint16_t JudgeSigners(const CSignerList& signers, CChainEngine& engine);

}  // namespace tarnwell
