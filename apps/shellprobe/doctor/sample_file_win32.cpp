#include "shellprobe/doctor/sample_file.h"

#include <vector>

#include "common/system/os/file.h"
#include "common/system/os/windows.h"
// Windows last.
#include <objbase.h>
#include <wincrypt.h>

namespace tarnwell::shellprobe {
namespace {

// A text file of 17 bytes, signed with a self-signed P-256 certificate that was made for it and
// whose key is gone:
//   openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 36500
//     -subj "/CN=Tarnwell sample" -addext keyUsage=digitalSignature -keyout k.pem -out c.pem
//   p7tool sign --signer c.pem --key k.pem sample.txt sample.p7
// The certificate names no address, so judging it asks nobody on the network.
constexpr char kSample[] =
    "MIIC9wYJKoZIhvcNAQcCoIIC6DCCAuQCAQExDzANBglghkgBZQMEAgEFADAgBgkqhkiG9w0BBwGgEwQRVGFybndl"
    "bGwgc2FtcGxlDQqgggGbMIIBlzCCAT6gAwIBAgIUdJofJ6FRpd/vj354HmGwVhLlsJUwCgYIKoZIzj0EAwIwGjEY"
    "MBYGA1UEAwwPVGFybndlbGwgc2FtcGxlMCAXDTI2MTEyMjAzMDU1M1oYDzIxMjYxMDI5MDMwNTUzWjAaMRgwFgYD"
    "VQQDDA9UYXJud2VsbCBzYW1wbGUwWTATBgcqhkjOPQIBBggqhkjOPQMBBwNCAARv/Nb6zedaq8CvFlnF6wMkA7gF"
    "8DS93nq4l++OHepKx7x/IMUXh3SAiCEXWum//kYz2wQQluFQsFgc15LpVXG6o2AwXjAdBgNVHQ4EFgQUrPn7Qabf"
    "/uMcUqxC97LFloDQOuYwHwYDVR0jBBgwFoAUrPn7Qabf/uMcUqxC97LFloDQOuYwDwYDVR0TAQH/BAUwAwEB/zAL"
    "BgNVHQ8EBAMCB4AwCgYIKoZIzj0EAwIDRwAwRAIgAucVkPKOvtuYv56C3o5HsyZAVmrEffcM7P3QEwKFga0CIDtm"
    "LDkKTr6tvvKw46o+4nNTbhE0+8h5kQ5VJGMVfNwuMYIBCzCCAQcCAQEwMjAaMRgwFgYDVQQDDA9UYXJud2VsbCBz"
    "YW1wbGUCFHSaHyehUaXf749+eB5hsFYS5bCVMA0GCWCGSAFlAwQCAQUAoGkwGAYJKoZIhvcNAQkDMQsGCSqGSIb3"
    "DQEHATAcBgkqhkiG9w0BCQUxDxcNMjYxMTIyMDMwNTUzWjAvBgkqhkiG9w0BCQQxIgQgx4N+fyMyFXLqbWW09P3a"
    "aQa6e0iMZxXaNgPJMbKw5tEwCgYIKoZIzj0EAwIESDBGAiEA1Uewl8RFMQkPdJLlKBZmSdClwhwREHn+cZOUGnvj"
    "hhkCIQCqboMWU5lO3aWLjuGce5QgcBXIYq+uw8NjC9Mwzs7FEg==";

std::vector<unsigned char> SampleBytes() {
    std::vector<unsigned char> bytes(sizeof kSample);
    auto size = static_cast<DWORD>(bytes.size());
    CryptStringToBinaryA(kSample, 0, CRYPT_STRING_BASE64, bytes.data(), &size, nullptr, nullptr);
    bytes.resize(size);
    return bytes;
}

}  // namespace

CSampleFile::CSampleFile() {
    wchar_t folder[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH + 1, folder);
    // A name that nobody can know before, where the folder is one that others write to as well.
    GUID id = {};
    wchar_t name[39] = {};
    if (FAILED(CoCreateGuid(&id)) || StringFromGUID2(id, name, 39) == 0)
        throw CException("the system gives no name for the sample");
    m_path = folder + (L"shellprobe-" + std::wstring(name)) + L".txt.p7";
    const CUTF16String path(Units(m_path.c_str()));
    if (!WriteWholeFile(path, SampleBytes()))
        throw CException("the sample cannot be written in the user's temporary folder");
}

CSampleFile::~CSampleFile() {
    DeleteFileW(m_path.c_str());
}

}  // namespace tarnwell::shellprobe
