#pragma once

#include <travesty/edit_controller.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hosts/vst3/identity.h"

namespace qov::hosts {
class Instance;
}

namespace qov::hosts::vst3 {

/// Describes the parameters to the host: names, steps, texts. Values are in 0..1. Main thread.
class Parameters {
 public:
    explicit Parameters(Instance& instance);

    std::int32_t count() const;
    bool describe(std::int32_t index, v3_param_info& info) const;
    /// Of any id; null for an unknown id.
    std::optional<std::string> text(v3_param_id id, double value) const;
    std::optional<double> parse(v3_param_id id, const std::string& text) const;
    /// Steps between the ends; 0 for a continuous parameter, null for an unknown id.
    std::optional<std::int32_t> steps(v3_param_id id) const;

    const std::vector<std::string>& programs() const { return programs_; }
    std::size_t programOf(double value) const;

 private:
    Instance& instance_;
    std::vector<std::string> programs_;
};

}  // namespace qov::hosts::vst3
