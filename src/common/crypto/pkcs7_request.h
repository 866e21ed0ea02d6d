#pragma once

// One request about a PKCS#7 file: the container, and the release of everything that it leaves to
// its caller (the parsed structure, the duplicated certificates, OpenSSL's share for the thread)
// when the request ends.
//     CPKCS7Request file(path);
//     if (file->IsOnlySigned()) …
// Belongs to one thread; lives on the caller's stack.

#include <span>
#include <utility>

#include "common/crypto/openssl_start.h"
#include "common/crypto/pkcs7.h"

namespace tarnwell {

class CPKCS7Request {
public:
    /// A request about the file at `path`; nothing is read yet.
    explicit CPKCS7Request(CUTF16String path) noexcept : m_file(std::move(path), &m_duplicates) {}
    /// A request about a structure that was parsed elsewhere. It has no path, so that Recover
    /// reads the content and writes nothing.
    explicit CPKCS7Request(CUniquePkcs7 parsed) noexcept : m_file(CUTF16String(), &m_duplicates) {
        m_file.m_pkcs7 = parsed.Release();
    }
    CPKCS7Request(const CPKCS7Request&) = delete;
    CPKCS7Request& operator=(const CPKCS7Request&) = delete;
    ~CPKCS7Request() { PKCS7_free(m_file.m_pkcs7); }

    CPKCS7* operator->() noexcept { return &m_file; }
    CPKCS7& operator*() noexcept { return m_file; }

private:
    COpenSslThreadShare m_share;  // goes last
    CCertificateBin m_duplicates;
    CPKCS7 m_file;
};

}  // namespace tarnwell
