#pragma once

// Stands in for the trace library while it lives and keeps what the code under test reports, so
// that a test can say which functions and messages it expects. One at a time; lines of several
// threads are kept in the order in which they came. It has no texts for error codes.

#include <string>
#include <vector>

#include "common/system/trace/trace.h"

namespace tarnwell::test {

class CTraceListener {
public:
    CTraceListener();
    ~CTraceListener();
    CTraceListener(const CTraceListener&) = delete;
    CTraceListener& operator=(const CTraceListener&) = delete;

    /// Lines gives everything so far: "enter X", "leave X", and messages as they stand, filled in
    /// and cut to 1000 bytes.
    std::vector<std::string> Lines() const;

    /// Messages gives the messages alone, without entries and exits.
    std::vector<std::string> Messages() const;

    /// Count tells how often `line` (as in Lines) was reported.
    std::size_t Count(const std::string& line) const;

    void Clear();

private:
    const TraceLibrary* m_replaced;
};

}  // namespace tarnwell::test
