#pragma once

#include <cstdint>
#include <functional>

#include "hosts/instance/Instance.h"

namespace qov::hosts {

/// Combines simultaneous input (touches, a scroll, keys) into one gesture for the host's
/// automation: it begins with the first hold() and ends with the last release(). Main thread.
class EditGesture {
 public:
    explicit EditGesture(Instance& instance) : instance_(instance) {}

    void hold() {
        if (holds_++ > 0) return;
        if (onBegin) onBegin();
        instance_.touchBegan();
    }
    /// One call for each hold().
    void release() {
        if (--holds_ > 0) return;
        const auto changed = instance_.touchEnded();
        if (onEnd) onEnd(changed);
    }

    bool isHeld() const { return holds_ > 0; }

    std::function<void()> onBegin;
    std::function<void(std::uint32_t changed)> onEnd;  ///< bit a: it changed address a

 private:
    Instance& instance_;
    int holds_ = 0;
};

}  // namespace qov::hosts
