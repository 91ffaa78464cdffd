#pragma once

#include "platform/audiotoolbox/AudioComponentDescription.h"

namespace qov {

/// The codes by which hosts find the effect.
inline constexpr platform::AudioComponentDescription componentDescription{
    .componentType = platform::kAudioUnitType_Effect,
    .componentSubType = platform::fourCharacterCode("Kelv"),
    .componentManufacturer = platform::fourCharacterCode("QOVa"),
};

}  // namespace qov
