#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "dsp/ParameterAddress.h"

namespace qov {

/// A parameter's new value.
struct ParameterSetting {
    std::uint64_t address;
    float value;  ///< 0..1
};

/// What a MIDI 1.0 message sets: a control change on any channel, of a controller that means a
/// parameter. Null for others, and for less than three bytes.
constexpr std::optional<ParameterSetting> settingOfMessage(std::span<const std::uint8_t> bytes) {
    if (bytes.size() < 3 || (bytes[0] & 0xF0) != 0xB0) return std::nullopt;
    const auto address = parameterOfController(bytes[1]);
    if (!address) return std::nullopt;
    return ParameterSetting{*address, static_cast<float>(bytes[2]) / 127.0f};
}

}  // namespace qov
