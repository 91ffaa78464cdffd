#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

/// Names a preset: a factory preset by a number from 0 up, a user's own by a negative one.
struct AUAudioUnitPreset {
    std::int64_t number = 0;
    std::optional<std::string> name;
};

}  // namespace platform
