#include "manager/core/identity_store.h"

#include <array>
#include <utility>

#include "common/system/os/file.h"
#include "common/system/text/exception.h"

namespace tarnwell::manager {
namespace {

constexpr std::u16string_view kFolder = u"demo-identity";
constexpr std::uint64_t kMaxPem = 64 * 1024;

using Member = std::string PemIdentity::*;
constexpr std::array<std::pair<std::u16string_view, Member>, 4> kMembers = {{
    {u"ca.pem", &PemIdentity::ca},
    {u"ca.key.pem", &PemIdentity::caKey},
    {u"signer.pem", &PemIdentity::signer},
    {u"signer.key.pem", &PemIdentity::signerKey},
}};

CUTF16String Path(std::u16string_view folder, std::u16string_view name) {
    return CUTF16String(Join(folder, name));
}

Identity Read(const std::u16string& folder) try {
    PemIdentity pem;
    for (const auto& [name, member] : kMembers) {
        const CFileBytes bytes = ReadWholeFile(Path(folder, name), kMaxPem);
        (pem.*member).assign(bytes.AsSpan().begin(), bytes.AsSpan().end());
    }
    return ReadIdentity(pem);
} catch (const CException& problem) {
    const std::string where = Utf8(folder);
    throw CException(CISOString("The demo identity in ") + std::string_view(where) +
                     " cannot be used (" + problem.Message() +
                     "). Delete that folder to have a new one made.");
}

/// The folder that a new identity is written to first; gone again unless it was moved away.
class CSideFolder {
public:
    CSideFolder(std::u16string path, CFiles& files) : m_path(std::move(path)), m_files(files) {}
    CSideFolder(const CSideFolder&) = delete;
    CSideFolder& operator=(const CSideFolder&) = delete;
    ~CSideFolder() {
        for (const auto& [name, member] : kMembers)
            m_files.Remove(Join(m_path, name));
        m_files.Remove(m_path);
    }

    bool Make() { return m_files.MakePrivateFolder(m_path); }

    bool Write(const PemIdentity& pem) {
        bool written = true;
        for (const auto& [name, member] : kMembers) {
            const std::string& text = pem.*member;
            const std::span bytes(reinterpret_cast<const unsigned char*>(text.data()), text.size());
            written = written && WriteWholeFile(Path(m_path, name), bytes);
        }
        return written;
    }

    Move MoveTo(const std::u16string& goal) { return m_files.MoveNew(m_path, goal); }

private:
    std::u16string m_path;
    CFiles& m_files;
};

/// Make puts a new identity into `folder`; false if another manager was faster.
bool Make(const std::u16string& home, const std::u16string& folder, CFiles& files) {
    CSideFolder side(Join(home, SideName()), files);
    const bool written = side.Make() && side.Write(MakeIdentity());
    const Move moved = written ? side.MoveTo(folder) : Move::kFailed;
    if (moved == Move::kFailed) {
        const std::string where = Utf8(home);
        throw CException(CISOString("The demo identity could not be written to ") +
                         std::string_view(where) + ". Check that you may write there.");
    }
    return moved == Move::kMoved;
}

}  // namespace

Identity OpenIdentity(const std::u16string& home, CFiles& files, const CLog& log) {
    const std::u16string folder = Join(home, kFolder);
    if (!files.IsFolder(folder)) {
        log.Line("making a demo CA and a demo signer (RSA 3072, SHA-256), once");
        files.MakeFolders(home);
        if (Make(home, folder, files)) {
            log.Line("the demo identity is ready: " + Utf8(folder));
            log.Line("to let other programs trust it, install " + Utf8(Join(folder, u"ca.pem")) +
                     " there by hand; the system's trust store was not touched");
        } else {
            log.Line("another manager made one in the meantime: " + Utf8(folder));
        }
    }
    Identity identity = Read(folder);
    if (IsExpired(identity))
        log.Line("the demo signer's certificate has expired: delete " + Utf8(folder) +
                 " to have a new one made");
    return identity;
}

}  // namespace tarnwell::manager
