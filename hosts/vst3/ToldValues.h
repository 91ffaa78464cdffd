#pragma once

#include <travesty/base.h>

#include <array>
#include <atomic>
#include <cstdint>

#include "audiounit/parameters.h"
#include "hosts/vst3/identity.h"

namespace qov::hosts::vst3 {

/// The values of the parameters as host and plug-in last told them to each other. The signal may be
/// a block behind: a host tells of a change twice, on the main thread for what is shown, and at its
/// frame on the audio thread for what is heard. Any thread.
class ToldValues {
 public:
    static constexpr bool has(v3_param_id id) { return parameterAt(id) != nullptr; }

    double get(v3_param_id id) const { return values_[id].load(std::memory_order_relaxed); }
    /// Switches go to their nearer end.
    void set(v3_param_id id, double value) {
        if (parameterAt(id)->isSwitch()) value = value > 0.5 ? 1 : 0;
        values_[id].store(value, std::memory_order_relaxed);
    }

    /// While a person holds a control in the editor, what the host sends back of it is behind what
    /// the control shows, and is passed over.
    bool isHeld(v3_param_id id) const { return held() >> id & 1; }
    /// Bit a for each address a that is.
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
