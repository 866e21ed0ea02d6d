#include "tarnwell/win32/open_signed_file.h"

#include "common/crypto/openssl_start.h"
#include "common/crypto/pkcs7_request.h"
#include "common/system/os/windows.h"
#include "common/system/trace/trace.h"

#include <openssl/crypto.h>

// Windows last.
#include <shellapi.h>

namespace tarnwell {
namespace {

/// ShellExecuteW's results from here on mean that a program was started.
constexpr std::intptr_t kFirstShellSuccess = 32;

ResultCode RecoverAndOpen(const CUTF16String& path, ShellOpener open) {
    CPKCS7Request file(path);
    if (!file->IsOnlySigned()) {
        TraceString("The file is not only signed");
        return kResultFailed;
    }
    const CPKCS7_ERROR error = file->Recover(nullptr, nullptr);
    if (error != CPKCS7_ERROR::NONE) {
        TraceString("Error while recovering file : %s", ErrorNames(error).CStr());
        return kResultRecoverFailed;
    }
    // A name without "." had no content written; the shell is asked for the file itself.
    if (open(path.Sub(0, path.FindLast(u'.'))) < kFirstShellSuccess) {
        TraceString("We could not open file");
        return kResultOpenFailed;
    }
    return kResultDone;
}

}  // namespace

std::intptr_t OpenWithShell(const CUTF16String& file) {
    return reinterpret_cast<std::intptr_t>(
        ShellExecuteW(nullptr, L"open", Wide(file), nullptr, nullptr, SW_SHOW));
}

ResultCode OpenSignedFile(const CUTF16String& path, ShellOpener open) noexcept {
    // The caller's box is the whole message: what went wrong inside is not told apart.
    try {
        StartOpenSsl();
        OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
        OPENSSL_init_crypto(OPENSSL_INIT_ADD_ALL_CIPHERS | OPENSSL_INIT_ADD_ALL_DIGESTS, nullptr);
        return RecoverAndOpen(path, open);
    } catch (...) {
        return kResultFailed;
    }
}

}  // namespace tarnwell
