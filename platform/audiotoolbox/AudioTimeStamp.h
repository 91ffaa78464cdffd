#pragma once

#include <cstdint>

namespace platform {

/// Bits: which fields of a time stamp are valid.
enum AudioTimeStampFlags : std::uint32_t {
    kAudioTimeStampNothingValid = 0,
    kAudioTimeStampSampleTimeValid = 1,
    kAudioTimeStampHostTimeValid = 2,
};

/// When a render cycle starts. mSampleTime counts frames from an origin of the host's choice.
struct AudioTimeStamp {
    double mSampleTime = 0;
    std::uint64_t mHostTime = 0;
    std::uint32_t mFlags = kAudioTimeStampNothingValid;
};

}  // namespace platform
