// Whole PKCS#7 files: everything that the handlers ask of one, without a disk.

#include <vector>

#include "common/crypto/asn1_time.h"
#include "common/crypto/certificate_label.h"
#include "common/crypto/pkcs7_file.h"
#include "common/crypto/pkcs7_request.h"
#include "fuzz_support.h"

namespace {

using namespace tarnwell;

/// Larger files say nothing new and take their time.
constexpr std::size_t kMaxSize = 64 << 10;

template <class Call>
void Try(Call&& call) {
    try {
        call();
    } catch (CPKCS7_ERROR code) {
        Require(ErrorNames(code).Length() > 0);
    }
}

void LookAt(const SignerInfo& signer) {
    Asn1TimeToTime(signer.signingTime, nullptr);
    Asn1TimeToIso(signer.signingTime);
    if (signer.certificate) {
        GetNameLabel(X509_get_subject_name(signer.certificate));
        GetNameLabel(X509_get_issuer_name(signer.certificate));
        SerialHex(signer.certificate);
    }
    Require(!signer.verified || signer.certificate);
}

/// A file read in pieces must parse as the same bytes in memory do.
void CompareWithPieces(const std::vector<unsigned char>& file, PKCS7* whole) {
    const auto place = FindContent(file, file.size());
    if (!place)
        return;
    Require(place->offset <= file.size() && place->length <= file.size() - place->offset);
    std::vector<unsigned char> rest = place->start;
    rest.insert(rest.end(),
                file.begin() + static_cast<std::ptrdiff_t>(place->offset + place->length),
                file.end());
    const CUniquePkcs7 pieces = LoadPkcs7(rest);
    Require(static_cast<bool>(pieces) == (whole != nullptr));
    if (pieces)
        Require(pieces.Get()->d.sign->contents->d.data->length == 0);
}

}  // namespace

void tarnwell::Fuzz(std::string_view input) {
    if (input.size() > kMaxSize)
        return;
    const std::vector<unsigned char> original(input.begin(), input.end());
    std::vector<unsigned char> file = original;
    CUniquePkcs7 parsed = LoadPkcs7(file);
    CompareWithPieces(original, parsed.Get());
    if (!parsed)
        return;
    CPKCS7Request request(std::move(parsed));
    const CPKCS7_TYPE type = request->GetType();
    Require(request->IsOnlySigned() == (type == CPKCS7_TYPE::SIGN));
    Try([&] {
        const CUniqueSignerList signers = request->GetSigners(nullptr, nullptr);
        for (const auto& signer : *signers.Get())
            LookAt(*signer);
    });
    Try([&] { request->GetRecipients(); });
    Try([&] { request->GetContentDigest(); });
    Try([&] { request->Recover(nullptr, nullptr); });  // without a path nothing is written
}
