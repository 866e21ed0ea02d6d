#include "shellprobe/doctor/report.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "common/system/json/json_line.h"

namespace tarnwell::shellprobe {
namespace {

constexpr std::string_view kVerdicts[] = {"OK", "WARN", "FAIL"};

std::string_view Name(EVerdict verdict) {
    return kVerdicts[static_cast<std::size_t>(verdict)];
}

}  // namespace

std::string TextLine(const Finding& finding) {
    std::string line(Name(finding.verdict));
    line.resize(6, ' ');
    line.append(finding.check).append(": ").append(finding.found);
    if (!finding.remedy.empty())
        line.append(". To do: ").append(finding.remedy);
    const auto isControl = [](char c) {
        return static_cast<unsigned char>(c) < 0x20 || c == '\x7F';
    };
    std::ranges::replace_if(line, isControl, ' ');
    return line;
}

std::string JsonLine(const Finding& finding) {
    CJsonObject json;
    json.Add("check", finding.check)
        .Add("verdict", Name(finding.verdict))
        .Add("found", finding.found);
    if (finding.remedy.empty())
        json.AddNull("remedy");
    else
        json.Add("remedy", finding.remedy);
    return json.Text();
}

void CReport::Ok(std::string_view check, std::string found) {
    Add({EVerdict::kOk, check, std::move(found), {}});
}

void CReport::Warn(std::string_view check, std::string found, std::string remedy) {
    Add({EVerdict::kWarn, check, std::move(found), std::move(remedy)});
}

void CReport::Fail(std::string_view check, std::string found, std::string remedy) {
    Add({EVerdict::kFail, check, std::move(found), std::move(remedy)});
}

void CReport::Add(const Finding& finding) {
    m_worst = std::max(m_worst, finding.verdict);
    (void)std::printf("%s\n", (m_isJson ? JsonLine(finding) : TextLine(finding)).c_str());
    (void)std::fflush(stdout);
}

}  // namespace tarnwell::shellprobe
