// The module's overlays: one for each resource and size, shared by whoever asks.

#include <list>
#include <new>

#include "common/system/os/exclusive_lock_win32.h"
#include "common/system/trace/trace.h"
#include "tarnwell/win32/alpha_icon.h"

namespace tarnwell {
namespace {

/// The lock is held while an overlay is loaded: two threads that ask for the same one at the same
/// time must not both keep theirs.
class COverlays {
public:
    /// Get gives null, and keeps nothing, if the overlay cannot be loaded; the next request tries
    /// again.
    const CAlphaIcon* Get(std::uint16_t resourceId, std::uint32_t size) {
        const CExclusiveHold hold(m_lock);
        for (Entry& entry : m_entries) {
            if (entry.overlay.IsResource(resourceId, size)) {
                ++entry.requests;
                return &entry.overlay;
            }
        }
        const Entry& made = m_entries.emplace_back(resourceId, size);
        if (!made.overlay.IsEmpty())
            return &made.overlay;
        m_entries.pop_back();
        return nullptr;
    }

private:
    struct Entry {
        Entry(std::uint16_t resourceId, std::uint32_t size) noexcept : overlay(resourceId, size) {}
        CAlphaIcon overlay;
        std::uint64_t requests = 1;  // each of them holds the entry until the module goes
    };

    CExclusiveLock m_lock;
    std::list<Entry> m_entries;  // a list, so that no overlay ever moves
};

}  // namespace

const CAlphaIcon& CAlphaIcon::GetOverlay(std::uint16_t resourceId, std::uint32_t size) noexcept {
    const CTraceScope scope("CAlphaIcon::GetOverlay");
    TraceString("Creating new icon");
    // Deleted at unload, when no handler is left; deleting bitmaps is safe under the loader lock.
    static COverlays overlays;
    try {
        if (const CAlphaIcon* overlay = overlays.Get(resourceId, size))
            return *overlay;
    } catch (const std::bad_alloc&) {  // for the entry
    }
    static const CAlphaIcon empty(nullptr);
    return empty;
}

}  // namespace tarnwell
