#pragma once

#include <travesty/base.h>

#include <array>
#include <atomic>
#include <cstdint>

#include "audiounit/parameters.h"
#include "hosts/vst3/identity.h"

namespace qov::hosts::vst3 {

/// The parameters' values that host and plug-in last sent each other. The signal may lag by a
/// block, as a host sends a change twice: on the main thread for the display, and with a block, at
/// its frame, for the sound. Any thread.
class ReportedValues {
 public:
    static constexpr bool has(v3_param_id id) { return parameterAt(id) != nullptr; }

    double get(v3_param_id id) const { return values_[id].load(std::memory_order_relaxed); }
    /// Switches go to their nearer end.
    void set(v3_param_id id, double value) {
        if (parameterAt(id)->isSwitch()) value = value > 0.5 ? 1 : 0;
        values_[id].store(value, std::memory_order_relaxed);
    }

    /// While a person holds a control in the editor, values from the host are older than the
    /// control's and are ignored.
    bool isHeld(v3_param_id id) const { return held() >> id & 1; }
    /// Bit a for each address a that is held.
    std::uint32_t held() const { return held_.load(std::memory_order_relaxed); }
    void setHeld(v3_param_id id, bool isHeld) {
        const auto bit = 1u << id;
        isHeld ? held_.fetch_or(bit) : held_.fetch_and(~bit);
    }

 private:
    std::array<std::atomic<double>, addressLimit> values_{};
    std::atomic<std::uint32_t> held_{0};
};

}  // namespace qov::hosts::vst3
