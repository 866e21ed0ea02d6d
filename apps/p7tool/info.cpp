#include "p7tool/info.h"

#include <cstdio>
#include <exception>
#include <map>
#include <utility>

#include "common/crypto/asn1_time.h"
#include "common/crypto/certificate_label.h"
#include "common/crypto/pkcs7_request.h"
#include "common/system/json/json_line.h"
#include "common/system/text/convert.h"
#include "common/system/text/exception.h"

namespace tarnwell::p7tool {

namespace {

/// A file of a megabyte can ask for gigabytes, with one long name for thousands of signers.
constexpr std::size_t kMaxSigners = 64 << 20;

/// What is told of each certificate, put together once for all the signers that share it.
using CCertificates = std::map<const X509*, CJsonObject>;

CJsonObject CertificateJson(const X509* certificate) {
    CJsonObject json;
    if (!certificate)
        return json.AddNull("subject").AddNull("issuer").AddNull("serial");
    return json.Add("subject", GetNameLabel(X509_get_subject_name(certificate)).AsView())
        .Add("issuer", GetNameLabel(X509_get_issuer_name(certificate)).AsView())
        .Add("serial", SerialHex(certificate).AsView());
}

std::string SignerJson(const SignerInfo& signer, CCertificates& certificates) {
    const auto [known, isNew] = certificates.try_emplace(signer.certificate);
    if (isNew)
        known->second = CertificateJson(signer.certificate);
    CJsonObject json = known->second;
    const CISOString time = Asn1TimeToIso(signer.signingTime);
    if (time.IsEmpty())
        json.AddNull("signingTime");
    else
        json.Add("signingTime", time.AsView());
    return json.AddFlag("verified", signer.verified).Text();
}

std::string ContentJson(const ContentDigest& content) {
    std::string hex;
    for (const unsigned char byte : content.sha256) {
        char digits[3];
        static_cast<void>(std::snprintf(digits, sizeof digits, "%02x", byte));
        hex += digits;
    }
    return CJsonObject().Add("size", content.size).Add("sha256", hex).Text();
}

/// The lists of a description; what cannot be had stays as it is here.
struct Details {
    CJsonArray signers;
    CJsonArray recipients;
    std::string content = "null";
    std::string exception;

    void Take(CPKCS7& file) {
        if (file.IsSigned())
            TakeSigners(file);
        if (file.IsEnveloped())
            TakeRecipients(file);
        if (const auto digest = file.GetContentDigest())
            content = ContentJson(*digest);
    }

private:
    // A failure stays in the container's code; the rest of the file is told all the same.
    void TakeSigners(CPKCS7& file) try {
        const CUniqueSignerList list = file.GetSigners(nullptr, nullptr);
        CCertificates certificates;
        CJsonArray told;
        std::size_t length = 0;
        for (const auto& signer : *list.Get()) {
            const std::string json = SignerJson(*signer, certificates);
            if ((length += json.size()) > kMaxSigners)
                throw CException("the list of signers is longer than 64 MiB");
            told.AddRaw(json);
        }
        signers = std::move(told);
    } catch (CPKCS7_ERROR) {
    }
    void TakeRecipients(CPKCS7& file) try {
        for (const CISOString& recipient : file.GetRecipients())
            recipients.AddRaw(Quoted(recipient.AsView()));
    } catch (CPKCS7_ERROR) {
    }
};

}  // namespace

FileInfo DescribeFile(const CUTF16String& path) {
    CPKCS7Request file(path);
    CPKCS7_TYPE type = CPKCS7_TYPE::UNKNOWN;
    Details details;
    bool parsed = false;
    try {
        type = file->GetType();
        parsed = file->Error() == CPKCS7_ERROR::NONE;
        if (parsed)
            details.Take(*file);
    } catch (CPKCS7_ERROR) {
        parsed = false;
    } catch (const std::exception& error) {
        parsed = false;
        details.exception = error.what();
    }

    CJsonObject json;
    json.Add("file", Utf8FromUtf16(path.AsView()).AsView())
        .Add("code", static_cast<std::uint64_t>(parsed ? type : CPKCS7_TYPE::UNKNOWN))
        .Add("type", TypeName(parsed ? type : CPKCS7_TYPE::UNKNOWN).AsView())
        .Add("error", static_cast<std::uint64_t>(file->Error()))
        .Add("errorNames", ErrorNames(file->Error()).AsView());
    if (!details.exception.empty())
        json.Add("exception", details.exception);
    json.AddRaw("signers", details.signers.Text())
        .AddRaw("recipients", details.recipients.Text())
        .AddRaw("content", details.content);
    return {json.Text(), parsed};
}

}  // namespace tarnwell::p7tool
