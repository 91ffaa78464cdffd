#pragma once

#include <cstdint>

namespace platform {

/// What a render block or a host block returns: 0 for success, else one of the codes below or the
/// host's own.
using AUAudioUnitStatus = std::int32_t;

enum : AUAudioUnitStatus {
    invalidComponentID = -3000,  ///< a description that names no single component
    kAudioUnitErr_InvalidPropertyValue = -10851,
    kAudioUnitErr_FormatNotSupported = -10868,
    kAudioUnitErr_TooManyFramesToProcess = -10874,
    kAudioUnitErr_FailedInitialization = -10875,
    kAudioUnitErr_NoConnection = -10876,
};

}  // namespace platform
