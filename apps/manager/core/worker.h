#pragma once

// Carries an action out, file by file: what fails is logged and does not stop the others. Nothing
// that exists is ever overwritten. One worker at a time in a process (the container's rule).

#include <functional>
#include <string>
#include <vector>

#include "common/crypto/pkcs7.h"
#include "manager/core/files.h"
#include "manager/core/identity.h"
#include "manager/core/log.h"

namespace tarnwell::manager {

/// Opens a file with the shell; says whether that worked.
using Opener = std::function<bool(const std::u16string& path)>;

class CWorker {
public:
    /// Borrows everything. Without an opener, recovered content is written only.
    CWorker(const Identity& identity, CFiles& files, const CLog& log, Opener opener)
        : m_identity(identity), m_files(files), m_log(log), m_opener(std::move(opener)) {}

    /// Work carries `action` out on each of the paths and returns how many failed.
    std::size_t Work(CPKCS7_TYPE action, const std::vector<std::u16string>& paths);

private:
    void Say(const std::string& text) const;
    void Protect(CPKCS7_TYPE action, const std::u16string& path);
    void Recover(const std::u16string& path);
    void Open(const std::u16string& path, bool trustworthy);
    bool SignaturesMatch(CPKCS7& file);
    std::vector<unsigned char> ContentOf(CPKCS7& file);
    std::u16string Settle(const std::u16string& side, const std::u16string& goal);

    const Identity& m_identity;
    CFiles& m_files;
    const CLog& m_log;
    Opener m_opener;
    std::string m_place;  // "2/3 " while the second of three files is worked on
};

}  // namespace tarnwell::manager
