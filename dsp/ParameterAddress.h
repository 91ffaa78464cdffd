#pragma once

#include <cstdint>
#include <optional>

namespace qov {

/// Addresses of the kernel's parameters. Hosts list those from 0 to 7; 8 is unassigned; kVolume is
/// the kernel's own.
enum ParameterAddress : std::uint64_t {
    kStereoWidth = 0,
    kPanorama = 1,
    kPhaseShift = 2,
    kSwapChannels = 3,
    kInvertChannel = 4,
    kRecoverMono = 5,
    kTestMono = 6,
    kBypass = 7,
    kVolume = 9,
};

/// The parameter that a MIDI controller sets, its data value 0..127 as 0..1; null for the other
/// controllers, which the kernel ignores.
constexpr std::optional<ParameterAddress> parameterOfController(std::uint32_t controller) {
    switch (controller) {
        case 7:
            return kVolume;
        case 10:
            return kPanorama;
        case 11:
            return kStereoWidth;
        default:
            return std::nullopt;
    }
}

}  // namespace qov
