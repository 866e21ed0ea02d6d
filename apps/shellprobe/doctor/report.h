#pragma once

// What doctor has found: a line a check, as text for people or as JSON, printed as soon as it is
// known, so that the last line tells where a run ended that was cut short. One thread.

#include <string>
#include <string_view>

namespace tarnwell::shellprobe {

enum class EVerdict {
    kOk,    ///< as it should be
    kWarn,  ///< the extension works, but not as well or not for everybody
    kFail,  ///< something that users need does not work
};

struct Finding {
    EVerdict verdict = EVerdict::kOk;
    std::string_view check;  ///< what was looked at, a fixed name
    std::string found;
    std::string remedy;  ///< what to do; empty for kOk
};

/// TextLine gives "FAIL  archive: there is no …. To do: …". Control characters, which paths and
/// texts may hold, become blanks.
std::string TextLine(const Finding& finding);

/// JsonLine gives {"check":…,"verdict":"FAIL","found":…,"remedy":…|null}.
std::string JsonLine(const Finding& finding);

class CReport {
public:
    explicit CReport(bool isJson) noexcept : m_isJson(isJson) {}

    void Ok(std::string_view check, std::string found);
    void Warn(std::string_view check, std::string found, std::string remedy);
    void Fail(std::string_view check, std::string found, std::string remedy);

    /// ExitStatus is the worst verdict so far: 0 all OK, 1 a WARN, 2 a FAIL.
    int ExitStatus() const noexcept { return static_cast<int>(m_worst); }

private:
    void Add(const Finding& finding);

    bool m_isJson;
    EVerdict m_worst = EVerdict::kOk;
};

}  // namespace tarnwell::shellprobe
