#include "common/system/trace/trace_library.h"

namespace tarnwell {

bool TraceIsOpenFromStart() noexcept {
    return true;
}

// The library exists for Windows only; here the calls are no-ops unless a test listens.
const TraceLibrary* BindTraceLibrary() noexcept {
    return nullptr;
}

}  // namespace tarnwell
