#include "manager/core/worker.h"

#include <openssl/err.h>

#include <algorithm>
#include <array>
#include <exception>
#include <span>

#include "common/crypto/pkcs7_build.h"
#include "common/crypto/pkcs7_content.h"
#include "common/crypto/pkcs7_request.h"
#include "common/system/os/file.h"
#include "common/system/text/exception.h"
#include "manager/core/output_name.h"

namespace tarnwell::manager {
namespace {

/// Beyond this many numbered names something else is wrong.
constexpr unsigned kMaxNumber = 10000;

constexpr char kNotWritten[] = "the folder cannot be written to, or the disk is full";

/// Thrown with the reason why one file failed.
[[noreturn]] void Fail(const std::string& why) {
    throw CException(CISOString(std::string_view(why)));
}

/// What a container's code means for the person who reads the log.
std::string Explain(CPKCS7_ERROR code) {
    std::string text;
    if (code == CPKCS7_ERROR::CANNOT_OPEN_FILE)
        text = "the file cannot be read";
    else if (code == (CPKCS7_ERROR::ERROR_OPENSSL | CPKCS7_ERROR::ERROR_RECOVER))
        text = "it is no PKCS#7 file, it is damaged, or it is encrypted for somebody else";
    else
        text = "the file could not be built";
    return text + " (" + std::string(ErrorNames(code).AsView()) + ")";
}

const char* DoneWord(CPKCS7_TYPE action) {
    switch (action) {
        case CPKCS7_TYPE::SIGN:
            return "signed";
        case CPKCS7_TYPE::ENCRYPT:
            return "encrypted";
        default:
            return "signed and encrypted";
    }
}

/// A file of a passing name; gone at the end unless it was moved to its place.
class CSideFile {
public:
    CSideFile(const std::u16string& goal, CFiles& files)
        : m_path(goal.substr(0, goal.find_last_of(u"\\/") + 1) + SideName()), m_files(files) {}
    CSideFile(const CSideFile&) = delete;
    CSideFile& operator=(const CSideFile&) = delete;
    ~CSideFile() { m_files.Remove(m_path); }

    const std::u16string& Path() const { return m_path; }

private:
    std::u16string m_path;
    CFiles& m_files;
};

/// Whether the file holds exactly these bytes already.
bool Holds(const std::u16string& path, std::span<const unsigned char> bytes) try {
    const CFileBytes found = ReadWholeFile(CUTF16String(path), bytes.size());
    return std::equal(bytes.begin(), bytes.end(), found.AsSpan().begin(), found.AsSpan().end());
} catch (const CException&) {
    return false;  // not readable, or longer
}

}  // namespace

std::size_t CWorker::Work(CPKCS7_TYPE action, const std::vector<std::u16string>& paths) {
    std::size_t failed = 0;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        m_place = std::to_string(i + 1) + "/" + std::to_string(paths.size()) + " ";
        std::string problem;
        try {
            if (action == CPKCS7_TYPE::RECOVER)
                Recover(paths[i]);
            else
                Protect(action, paths[i]);
        } catch (const CPKCS7_ERROR code) {
            problem = Explain(code);
        } catch (const std::exception& exception) {
            problem = exception.what();
        }
        ERR_clear_error();
        if (!problem.empty()) {
            ++failed;
            Say("FAILED " + Utf8(paths[i]) + ": " + problem);
        }
    }
    return failed;
}

void CWorker::Say(const std::string& text) const {
    m_log.Line(m_place + text);
}

void CWorker::Protect(CPKCS7_TYPE action, const std::u16string& path) {
    CPKCS7Build build(action);
    if (action != CPKCS7_TYPE::ENCRYPT)
        build.AddSigner(m_identity.signer.Get(), m_identity.key.Get(), EVP_sha256());
    if (action != CPKCS7_TYPE::SIGN)
        build.AddRecipient(m_identity.signer.Get());

    const std::u16string goal = ProtectedPath(path);
    const CSideFile side(goal, m_files);
    const CPKCS7_ERROR code = build.Build(CUTF16String(path), CUTF16String(side.Path()));
    if (code != CPKCS7_ERROR::NONE)
        throw code;
    if (!build.WasWritten())
        Fail(kNotWritten);
    const std::u16string written = Settle(side.Path(), goal);
    Say(std::string(DoneWord(action)) + " " + Utf8(path) + " -> " + Utf8(written));
}

std::u16string CWorker::Settle(const std::u16string& side, const std::u16string& goal) {
    for (unsigned n = 1; n <= kMaxNumber; ++n) {
        std::u16string candidate = NumberedPath(goal, n);
        const Move move = m_files.MoveNew(side, candidate);
        if (move == Move::kMoved)
            return candidate;
        if (move == Move::kFailed)
            Fail("\"" + Utf8(candidate) + "\" cannot be written");
    }
    Fail("there are too many files of that name");
}

void CWorker::Recover(const std::u16string& path) {
    // Read once: a file that is changed meanwhile must not lend its signatures to other content.
    CPKCS7Request file{CUTF16String(path)};
    const std::vector<unsigned char> content = ContentOf(*file);
    const bool trustworthy = SignaturesMatch(*file);

    const std::u16string goal = RecoveredPath(path);
    for (unsigned n = 1; n <= kMaxNumber && m_files.IsFile(NumberedPath(goal, n)); ++n) {
        std::u16string candidate = NumberedPath(goal, n);
        if (Holds(candidate, content)) {
            Say("the content of " + Utf8(path) + " is already in " + Utf8(candidate));
            Open(candidate, trustworthy);
            return;
        }
    }
    const CSideFile side(goal, m_files);
    if (!WriteWholeFile(CUTF16String(side.Path()), content))
        Fail(kNotWritten);
    const std::u16string written = Settle(side.Path(), goal);
    Say("recovered " + Utf8(path) + " -> " + Utf8(written) + " (" + std::to_string(content.size()) +
        " bytes)");
    Open(written, trustworthy);
}

std::vector<unsigned char> CWorker::ContentOf(CPKCS7& file) {
    const CUniqueBio bio =
        file.Build_recover(m_identity.signer.Get(), Share(m_identity.key.Get()).Release());
    std::vector<unsigned char> content;
    ReadContent(bio.Get(), [&](const unsigned char* piece, std::size_t count) {
        content.insert(content.end(), piece, piece + count);
    });
    if (!DecryptedWell(bio.Get()))
        Fail("the content does not decrypt: the file is damaged or changed");
    return content;
}

bool CWorker::SignaturesMatch(CPKCS7& file) {
    if (!file.IsSigned())
        return true;
    const CUniqueSignerList signers =
        file.GetSigners(m_identity.signer.Get(), m_identity.key.Get());
    std::size_t matching = 0;
    for (const auto& signer : *signers.Get())
        matching += signer->verified ? 1 : 0;
    const std::size_t all = signers.Get()->size();
    Say(std::to_string(matching) + " of " + std::to_string(all) + " signatures match in " +
        Utf8(file.Path().AsView()));
    return matching == all;
}

void CWorker::Open(const std::u16string& path, bool trustworthy) {
    const std::string name = Utf8(path);
    if (!trustworthy)
        Say("WARNING not opened, a signature does not match: " + name);
    else if (IsProgram(path))
        Say("not opened because it is a program: " + name);
    else if (!m_opener)
        Say("not opened, as asked: " + name);
    else if (m_opener(path))
        Say("opened " + name);
    else
        Fail("the content is in \"" + name + "\", but no program opens it");
}

}  // namespace tarnwell::manager
