#pragma once

#include <memory>

#include "platform/audiotoolbox/AudioComponentDescription.h"

namespace platform {

class AUAudioUnit;
class NSError;

/// Creates audio units for a host.
class AUAudioUnitFactory {
 public:
    virtual ~AUAudioUnitFactory() = default;

    /// A new audio unit for the description. Null, with *error set where error is given, when it
    /// cannot be made.
    virtual std::shared_ptr<AUAudioUnit> createAudioUnit(
        const AudioComponentDescription& description, NSError* error) = 0;
};

}  // namespace platform
