#include "common/system/os/event_log_win32.h"

#include <algorithm>
#include <exception>
#include <string_view>
#include <vector>

#include "common/system/os/event_source.h"

namespace tarnwell {
namespace {

static_assert(std::u16string_view(kEventSourceKey).ends_with(kEventSourceName));

constexpr std::size_t kMostTexts = 256;
constexpr std::size_t kMostUnits = 31839;

}  // namespace

CWinEventLog::CWinEventLog(const EventLogSystem& system) noexcept
    : m_system(system), m_log(system.open(nullptr, Wide(kEventSourceName))) {}

CWinEventLog::~CWinEventLog() {
    if (m_log)
        m_system.close(m_log);
}

void CWinEventLog::Report(const CEvent& event) noexcept try {
    if (!m_log)
        return;
    const std::size_t count = std::min(event.arguments.Count(), kMostTexts);
    std::vector<CUTF16String> texts;
    std::vector<const wchar_t*> units;
    units.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        texts.push_back(event.arguments.Argument(i).Sub(0, kMostUnits));
    for (const CUTF16String& text : texts)
        units.push_back(Wide(text));
    m_system.report(m_log, static_cast<WORD>(EventTypeOf(event.identifier)), event.category,
                    event.identifier, nullptr, static_cast<WORD>(count), 0, units.data(), nullptr);
} catch (const std::exception&) {
    // Without memory for the texts there is no report.
}

CEventLog& EventLog() noexcept {
    static CWinEventLog log;
    return log;
}

}  // namespace tarnwell
