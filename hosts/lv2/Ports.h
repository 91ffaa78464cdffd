#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "audiounit/parameters.h"

namespace qov::hosts::lv2 {

/// The ports by their index. Those of the parameters stand in the order of their addresses.
enum Port : std::uint32_t {
    inLeft,
    inRight,
    outLeft,
    outRight,
    firstControl,
    latencyPort = firstControl + parameterCount,
    eventsPort,  ///< MIDI and patch messages
    notifyPort,  ///< answers to patch:Get
    portCount,
};

/// Bytes that a host should have for an answer on notifyPort.
inline constexpr std::uint32_t notifyBytes = 1024;

/// A parameter's value for the value of its control port. Switches are on above 0, as the format
/// has it; the bypass's port has the opposite sense (lv2:enabled). NaN stays NaN.
inline float parameterOfPort(std::uint64_t address, float port) {
    if (!parameterAt(address)->isSwitch() || port != port) return port;
    const bool on = port > 0;
    return on != (address == kBypass) ? 1.0f : 0.0f;
}
/// The inverse.
inline float portOfParameter(std::uint64_t address, float value) {
    return address == kBypass ? (value > 0.5f ? 0.0f : 1.0f) : value;
}

/// "kStereoWidth" becomes "stereo_width": the port's symbol, and the end of the property's URI.
inline std::string symbolOf(std::string_view identifier) {
    std::string symbol;
    for (const char c : identifier.substr(1)) {
        const bool isCapital = c >= 'A' && c <= 'Z';
        if (isCapital && !symbol.empty()) symbol += '_';
        symbol += isCapital ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return symbol;
}

}  // namespace qov::hosts::lv2
