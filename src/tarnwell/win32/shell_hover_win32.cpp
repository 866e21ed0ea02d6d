#include "tarnwell/win32/shell_hover.h"

#include <algorithm>
#include <map>
#include <new>
#include <optional>

#include "common/crypto/certificate_label.h"
#include "common/crypto/pkcs7_request.h"
#include "common/crypto/time_text.h"
#include "common/system/os/owners_win32.h"
#include "common/system/text/convert.h"
#include "common/system/text/exception.h"

namespace tarnwell {
namespace {

/// What stands before the names and before the time.
struct Labels {
    CISOString signedBy;
    CISOString signedOn;
};

/// No screen shows a tip of that many octets. A file of a megabyte can ask for gigabytes, with one
/// long name for thousands of signers.
constexpr std::size_t kMaxTip = 1 << 20;

/// "subject(issuer)" of each certificate, put together once for all the signers that share it.
using CNames = std::map<const X509*, CISOString>;

const CISOString& NamesIn(CNames& names, const X509* certificate) {
    const auto [place, isNew] = names.try_emplace(certificate);
    if (isNew)
        place->second = GetNameLabel(X509_get_subject_name(certificate)) + "(" +
                        GetNameLabel(X509_get_issuer_name(certificate)) + ")";
    return place->second;
}

void AppendSigner(CISOString& text, const Labels& labels, CNames& names, const SignerInfo& signer) {
    if (!signer.certificate)  // no name to show, and a tip with half of the signers misleads
        throw CException("a signer's certificate is not in the file");
    text += labels.signedBy + ": " + NamesIn(names, signer.certificate) + "\n";
    text += labels.signedOn + ": " + TimeToText(signer.signingTime);
    if (text.Length() > kMaxTip)
        throw CException("the signers' names are too long for a tip");
}

/// The tip in UTF-8; nothing for a file that is not signed.
std::optional<CISOString> TipText(const Lang& lang, const CUTF16String& path) {
    CPKCS7Request file(path);
    if (!file->IsSigned())
        return std::nullopt;
    const CUniqueSignerList list = file->GetSigners(nullptr, nullptr);
    const CSignerList& signers = *list.Get();
    const Labels labels = {lang["tarnwellDLL.signed_by"], lang["tarnwellDLL.signed_on"]};
    CNames names;
    CISOString text;
    for (std::size_t i = 0; i < signers.size(); ++i) {
        // Counted from 0, and right behind the time of the signer before: as every tip of the
        // suite has it.
        if (signers.size() > 1)
            text += "signer :" + FromNumber(i) + "\n";
        AppendSigner(text, labels, names, *signers[i]);
    }
    return text;
}

/// A copy for the shell. Throws std::bad_alloc.
CUniqueTaskMemory<WCHAR> TaskCopy(const CUTF16String& text) {
    const std::size_t units = text.Length() + 1;
    CUniqueTaskMemory<WCHAR> copy(static_cast<WCHAR*>(CoTaskMemAlloc(units * sizeof(WCHAR))));
    if (!copy)
        throw std::bad_alloc();
    std::copy_n(Wide(text), units, copy.Get());
    return copy;
}

}  // namespace

HRESULT CShellHover::GetInfoTip(DWORD, WCHAR** tip) noexcept {
    return Guard("CShellHover::GetInfoTip", [&] {
        if (!tip)
            return E_POINTER;
        *tip = nullptr;
        return MakeTip(tip);
    });
}

HRESULT CShellHover::GetInfoFlags(DWORD*) noexcept {
    return E_NOTIMPL;
}

HRESULT CShellHover::MakeTip(WCHAR** tip) {
    Lang lang;
    if (!m_catalogue.LoadCatalogue(lang))
        return E_FAIL;
    try {
        const std::optional<CISOString> text = TipText(lang, Path());
        if (!text)
            return E_FAIL;
        *tip = TaskCopy(Utf16FromUtf8(*text)).Release();
        return S_OK;
    } catch (...) {  // whatever it is, the trace says only this
        TraceString("Failed to create Hover message.");
        return E_FAIL;
    }
}

}  // namespace tarnwell
