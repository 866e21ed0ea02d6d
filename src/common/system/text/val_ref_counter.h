#pragma once

// A value shared by counted references, so that copies are cheap; who changes a shared one gets
// a copy first. A value and all its holders belong to one thread.

#include <memory>

namespace tarnwell {

template <class Value>
class CValRefCounter {
public:
    /// Get gives the value for reading; valid until Own or the end of this holder.
    const Value& Get() const noexcept {
        static const Value kEmpty{};
        return m_value ? *m_value : kEmpty;
    }

    /// Own gives the value for writing, no longer shared with anybody.
    Value& Own() {
        if (!m_value || m_value.use_count() > 1)
            m_value = std::make_shared<Value>(Get());
        return *m_value;
    }

private:
    std::shared_ptr<Value> m_value;
};

}  // namespace tarnwell
