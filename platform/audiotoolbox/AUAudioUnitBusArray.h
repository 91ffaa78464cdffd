#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "platform/audiotoolbox/AUAudioUnitBus.h"

namespace platform {

class AUAudioUnit;

/// Which side of the audio unit.
enum class AUAudioUnitBusType { input = 1, output = 2 };

/// The busses of one side of an audio unit, which owns the array and outlives it.
class AUAudioUnitBusArray {
 public:
    AUAudioUnitBusArray(AUAudioUnit* owner, AUAudioUnitBusType type,
                        std::vector<std::shared_ptr<AUAudioUnitBus>> busses)
        : owner_(owner), type_(type), busses_(std::move(busses)) {}

    std::size_t count() const { return busses_.size(); }
    const std::shared_ptr<AUAudioUnitBus>& operator[](std::size_t index) const {
        return busses_[index];
    }
    AUAudioUnitBusType busType() const { return type_; }
    AUAudioUnit* ownerAudioUnit() const { return owner_; }

 private:
    AUAudioUnit* owner_;
    AUAudioUnitBusType type_;
    std::vector<std::shared_ptr<AUAudioUnitBus>> busses_;
};

}  // namespace platform
