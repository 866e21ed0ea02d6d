#include "common/system/trace/trace.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>

#include "common/system/trace/trace_library.h"

namespace tarnwell {
namespace {

// A DLL's first code (the secure zone) runs under the loader lock, where loading another DLL may
// deadlock or fail. So a DLL's trace stays shut until the module says that it is attached.
enum class EGate { kUndecided, kShut, kOpen };

constinit std::atomic<EGate> s_gate = EGate::kUndecided;
constinit std::atomic<const TraceLibrary*> s_replacement = nullptr;

bool IsOpen() noexcept {
    EGate gate = s_gate.load(std::memory_order_acquire);
    if (gate == EGate::kUndecided) {
        const EGate decided = TraceIsOpenFromStart() ? EGate::kOpen : EGate::kShut;
        // Whoever opened or closed it in the meantime knew better.
        if (s_gate.compare_exchange_strong(gate, decided, std::memory_order_acq_rel))
            gate = decided;
    }
    return gate == EGate::kOpen;
}

// Messages of a module that is still being attached. Only the loader's thread writes here, before
// the gate opens; the first caller afterwards takes them out.
class CEarlyMessages {
public:
    void Add(const char* message) noexcept {
        const std::size_t index = m_count.load(std::memory_order_relaxed);
        if (index == kMessages)
            return;
        char* text = m_texts[index];
        const std::size_t length = std::min(std::strlen(message), kBytes - 1);
        std::memcpy(text, message, length);
        text[length] = '\0';
        m_count.store(index + 1, std::memory_order_release);
    }

    void HandOver(const TraceLibrary& library) noexcept {
        if (m_count.load(std::memory_order_relaxed) == 0)
            return;
        const std::size_t count = m_count.exchange(0, std::memory_order_acq_rel);
        for (std::size_t i = 0; i < count && library.traceString; ++i)
            library.traceString("%s", m_texts[i]);
    }

private:
    static constexpr std::size_t kMessages = 8;
    static constexpr std::size_t kBytes = 256;
    char m_texts[kMessages][kBytes] = {};
    std::atomic<std::size_t> m_count = 0;
};
constinit CEarlyMessages s_early;

}  // namespace

const TraceLibrary* ReplaceTraceLibrary(const TraceLibrary* library) noexcept {
    return s_replacement.exchange(library, std::memory_order_acq_rel);
}

const TraceLibrary* FindTraceLibrary() noexcept {
    if (const TraceLibrary* replacement = s_replacement.load(std::memory_order_acquire))
        return replacement;
    if (!IsOpen())
        return nullptr;
    const TraceLibrary* library = BindTraceLibrary();
    if (library)
        s_early.HandOver(*library);
    return library;
}

void OpenTrace() noexcept {
    s_gate.store(EGate::kOpen, std::memory_order_release);
}

void CloseTrace() noexcept {
    s_gate.store(EGate::kShut, std::memory_order_release);
}

void TraceString(const char* message) noexcept {
    TraceString("%s", message);
}

void TraceString(const char* format, const char* argument) noexcept {
    const TraceLibrary* library = FindTraceLibrary();
    if (library && library->traceString)
        library->traceString(format, argument);
    else if (!library && s_gate.load(std::memory_order_acquire) == EGate::kShut)
        s_early.Add(argument);
}

const char* GetWin32ErrorString(std::uint32_t code) noexcept {
    const TraceLibrary* library = FindTraceLibrary();
    const char* text =
        library && library->getWin32ErrorString ? library->getWin32ErrorString(code) : nullptr;
    return text ? text : "";
}

const char* GetCkErrorString(unsigned long code) noexcept {
    const TraceLibrary* library = FindTraceLibrary();
    const char* text =
        library && library->getCkErrorString ? library->getCkErrorString(code) : nullptr;
    return text ? text : "";
}

CTraceScope::~CTraceScope() {
    const TraceLibrary* library = FindTraceLibrary();
    if (library && library->traceLeave)
        library->traceLeave(m_name);
}

}  // namespace tarnwell
