#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "audiounit/parameters.h"

namespace qov {

inline constexpr std::size_t factoryPresetCount = 3;

/// By preset number.
inline constexpr std::array<std::string_view, factoryPresetCount> presetNames{
    "1. Default Preset (Init)",
    "2. Default Preset (Init)",
    "3. Default Preset (Init)",
};

/// A row for each factory preset, a column for each row of hostParameters. The three are
/// placeholders and still equal.
inline constexpr std::array<std::array<float, parameterCount>, factoryPresetCount> presetParameters{
    {
        {0.5f, 0.5f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f},
        {0.5f, 0.5f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f},
        {0.5f, 0.5f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f},
    }};

}  // namespace qov
