#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "audiounit/parameters.h"

namespace qov::hosts {

/// The values of all parameters, and the preset that they come from.
struct Settings {
    std::array<float, parameterCount> values{};  ///< by address
    std::int64_t presetNumber = 0;               ///< the audio unit's
    std::string presetName;

    /// Whether both come from one preset, edited or not.
    bool isOfSamePreset(const Settings& other) const {
        return presetNumber == other.presetNumber && presetName == other.presetName;
    }
    bool operator==(const Settings&) const = default;
};

}  // namespace qov::hosts
