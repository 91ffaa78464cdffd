#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/audiotoolbox/AURenderEvent.h"

namespace platform {

class AUParameterTree;

/// How a host shows a parameter: as a number, a choice of names, a switch.
enum AudioUnitParameterUnit : std::uint32_t {
    kAudioUnitParameterUnit_Generic = 0,
    kAudioUnitParameterUnit_Indexed = 1,
    kAudioUnitParameterUnit_Boolean = 2,
};

/// Bits: what a host may do with a parameter.
using AudioUnitParameterOptions = std::uint32_t;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_IsReadable = 0x40000000;
inline constexpr AudioUnitParameterOptions kAudioUnitParameterFlag_IsWritable = 0x80000000;

/// What a change means to somebody who records automation.
enum AUParameterAutomationEventType : std::uint32_t {
    AUParameterAutomationEventTypeValue = 0,
    AUParameterAutomationEventTypeTouch = 1,    ///< a user takes hold of the control
    AUParameterAutomationEventTypeRelease = 2,  ///< and releases it
};

/// Names one observer of a tree, also as the originator of a change; null for none.
using AUParameterObserverToken = const void*;

/// One parameter of an audio unit, made by AUParameterTree; everything but the value is fixed from
/// then on. Any thread may read and set the value, the audio thread apart: there, changes go to
/// the audio unit as render events.
class AUParameter {
 public:
    const std::string& identifier() const { return identifier_; }
    const std::string& displayName() const { return displayName_; }
    AUParameterAddress address() const { return address_; }
    AUValue minValue() const { return minValue_; }
    AUValue maxValue() const { return maxValue_; }
    AudioUnitParameterUnit unit() const { return unit_; }
    /// Empty if the unit is enough.
    const std::string& unitName() const { return unitName_; }
    AudioUnitParameterOptions flags() const { return flags_; }
    const std::vector<std::string>& valueStrings() const { return valueStrings_; }
    const std::vector<AUParameterAddress>& dependentParameters() const {
        return dependentParameters_;
    }

    /// From the tree's value provider, or without one the value last set.
    AUValue value() const;

    /// Sets the value, which the caller keeps in the range; notifies the audio unit through the
    /// tree's value observer, then the tree's observers, on the calling thread, except
    /// `originator`'s own.
    void setValue(AUValue value, AUParameterObserverToken originator = nullptr,
                  AUParameterAutomationEventType type = AUParameterAutomationEventTypeValue);

    /// Notifies the tree's observers, except `originator`'s own, of a value that the audio unit
    /// already has, for example from a render event.
    void didChangeValue(AUParameterObserverToken originator = nullptr);

    /// The text for *value, or for the present value when value is null.
    std::string stringFromValue(const AUValue* value) const;

 private:
    friend class AUParameterTree;
    AUParameter() = default;

    std::string identifier_;
    std::string displayName_;
    AUParameterAddress address_ = 0;
    AUValue minValue_ = 0;
    AUValue maxValue_ = 1;
    AudioUnitParameterUnit unit_ = kAudioUnitParameterUnit_Generic;
    std::string unitName_;
    AudioUnitParameterOptions flags_ = 0;
    std::vector<std::string> valueStrings_;
    std::vector<AUParameterAddress> dependentParameters_;
    mutable std::atomic<AUValue> value_{0};
    std::weak_ptr<AUParameterTree> tree_;
};

}  // namespace platform
