#pragma once

// The signed files that the benchmarks read, and what reading one costs at least.

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "bench_rows.h"
#include "common/crypto/pkcs7_build.h"

namespace tarnwell {

/// A folder that goes away with everything in it.
struct BenchFolder {
    BenchFolder()
        : path(std::filesystem::temp_directory_path() /
               ("tarnwell_bench." + std::to_string(getpid()))) {
        std::filesystem::create_directory(path);
    }
    ~BenchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    std::filesystem::path path;
};

/// Utf16 gives the path in the system's own spelling.
inline CUTF16String Utf16(const std::filesystem::path& path) {
    return CUTF16String(std::filesystem::path(path).make_preferred().u16string());
}

/// A signer with a certificate that is its own issuer.
struct Signer {
    Signer() : key(EVP_RSA_gen(2048)), certificate(X509_new()) {
        X509* x509 = certificate.Get();
        ASN1_INTEGER_set(X509_get_serialNumber(x509), 1);
        X509_gmtime_adj(X509_getm_notBefore(x509), 0);
        X509_gmtime_adj(X509_getm_notAfter(x509), 3600);
        X509_NAME* name = X509_get_subject_name(x509);
        const unsigned char text[] = "Bench";
        X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, text, -1, -1, 0);
        X509_set_issuer_name(x509, name);
        X509_set_pubkey(x509, key.Get());
        Require(X509_sign(x509, key.Get(), EVP_sha256()) > 0, "no certificate");
    }
    CUniqueKey key;
    CUniqueX509 certificate;
};

/// MakeSigned writes a file of `size` bytes and gives the signed one made of it, INPUT.p7.
inline std::filesystem::path MakeSigned(const Signer& signer, const std::filesystem::path& input,
                                        std::size_t size) {
    std::string content(size, '\0');
    unsigned state = 1;
    for (char& byte : content)
        byte = static_cast<char>((state = state * 1103515245 + 12345) >> 24);
    std::ofstream(input, std::ios::binary)
        .write(content.data(), static_cast<std::streamsize>(content.size()));
    CPKCS7Build build(CPKCS7_TYPE::SIGN);
    build.AddSigner(signer.certificate.Get(), signer.key.Get(), EVP_sha256());
    const std::filesystem::path output = input.string() + ".p7";
    Require(build.Build(Utf16(input), Utf16(output)) == CPKCS7_ERROR::NONE && build.WasWritten(),
            "the signed file cannot be built");
    std::filesystem::remove(input);
    return output;
}

/// The calls that no reader can do without, on bytes that are in memory already.
inline void BareCalls(const std::string& bytes) {
    const auto* next = reinterpret_cast<const unsigned char*>(bytes.data());
    const CUniquePkcs7 p7(d2i_PKCS7(nullptr, &next, static_cast<long>(bytes.size())));
    const CUniqueBio content(PKCS7_dataInit(p7.Get(), nullptr));
    unsigned char piece[512];
    while (BIO_read(content.Get(), piece, sizeof piece) > 0) {
    }
    PKCS7_SIGNER_INFO* info = sk_PKCS7_SIGNER_INFO_value(PKCS7_get_signer_info(p7.Get()), 0);
    const CUniqueX509 certificate(X509_dup(X509_find_by_issuer_and_serial(
        p7.Get()->d.sign->cert, info->issuer_and_serial->issuer, info->issuer_and_serial->serial)));
    Require(PKCS7_signatureVerify(content.Get(), p7.Get(), info, certificate.Get()) > 0,
            "it must verify");
}

}  // namespace tarnwell
