#pragma once

#include <cstdint>

namespace qov {

/// Names of the kernel's parameters. 0 to 7 are the host's; 8 is unassigned; kVolume is the
/// kernel's own.
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

}  // namespace qov
