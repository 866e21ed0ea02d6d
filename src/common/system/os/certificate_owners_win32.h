#pragma once

// Owners of what Windows' certificate functions hand out. Apart from owners_win32.h because
// wincrypt.h defines names of OpenSSL's types as macros: no file should need both.

#include "common/system/os/unique.h"
#include "common/system/os/windows.h"
// wincrypt.h needs windows.h before it.
#include <wincrypt.h>

namespace tarnwell {

using CUniqueCertificate = CUnique<CPointerTraits<const CERT_CONTEXT, CertFreeCertificateContext>>;
using CUniqueCertificateChain =
    CUnique<CPointerTraits<const CERT_CHAIN_CONTEXT, CertFreeCertificateChain>>;

}  // namespace tarnwell
