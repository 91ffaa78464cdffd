#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

/// Names a preset: factory presets are numbered from 0 up, a user's below 0.
struct AUAudioUnitPreset {
    std::int64_t number = 0;
    std::optional<std::string> name;
};

}  // namespace platform
