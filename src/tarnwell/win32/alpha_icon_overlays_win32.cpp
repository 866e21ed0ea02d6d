// The overlays that are held for the next request. Callers choose the sizes, so there is a limit.

#include <algorithm>
#include <list>
#include <new>

#include "common/system/os/exclusive_lock_win32.h"
#include "common/system/trace/trace.h"
#include "tarnwell/win32/alpha_icon.h"

namespace tarnwell {
namespace {

using Overlay = std::shared_ptr<const CAlphaIcon>;

/// The six overlays in more sizes than the explorer shows at a time: two bitmaps each, and not 30
/// megabytes if all are of the largest size that is held.
constexpr std::size_t kMaxHeld = 48;
constexpr std::int32_t kMaxHeldSide = 256;  // pixels; larger ones are not drawn, only magnified

class COverlays {
public:
    /// Find gives null for an overlay that is not held.
    Overlay Find(std::uint16_t resourceId, std::uint32_t size) noexcept {
        const CExclusiveHold hold(m_lock);
        const auto found = std::ranges::find_if(
            m_held, [&](const Overlay& overlay) { return overlay->IsResource(resourceId, size); });
        if (found == m_held.end())
            return nullptr;
        m_held.splice(m_held.begin(), m_held, found);
        return m_held.front();
    }

    /// Hold takes the place of the overlay that nobody has asked for the longest. Two threads that
    /// made the same one both have it held; one of the two is soon out of use. Throws
    /// std::bad_alloc.
    void Hold(const Overlay& overlay) {
        if (overlay->IsEmpty() || overlay->Width() > kMaxHeldSide)
            return;
        const CExclusiveHold hold(m_lock);
        m_held.push_front(overlay);
        if (m_held.size() > kMaxHeld)
            m_held.pop_back();
    }

private:
    CExclusiveLock m_lock;
    std::list<Overlay> m_held;  // the one asked for last is the first
};

/// A request is traced as if its overlay were loaded for it, whether it was held or not.
void TraceLoading() noexcept {
    const CTraceScope made("CAlphaIcon::CAlphaIcon");
    const CTraceScope filled("CAlphaIcon::Init");
}

}  // namespace

Overlay CAlphaIcon::GetOverlay(std::uint16_t resourceId, std::uint32_t size) noexcept {
    const CTraceScope scope("CAlphaIcon::GetOverlay");
    TraceString("Creating new icon");
    // Deleted at unload, when no handler is left; deleting bitmaps is safe under the loader lock.
    static COverlays overlays;
    if (Overlay held = overlays.Find(resourceId, size)) {
        TraceLoading();
        return held;
    }
    try {
        auto loaded = std::make_shared<const CAlphaIcon>(resourceId, size);
        overlays.Hold(loaded);
        return loaded;
    } catch (const std::bad_alloc&) {
        static const CAlphaIcon empty(nullptr);
        return {std::shared_ptr<void>(), &empty};  // owns nothing, so needs no memory
    }
}

}  // namespace tarnwell
