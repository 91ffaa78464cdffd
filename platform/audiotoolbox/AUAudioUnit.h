#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "platform/audiotoolbox/AUAudioUnitPreset.h"
#include "platform/audiotoolbox/AUAudioUnitStatus.h"
#include "platform/audiotoolbox/AURenderEvent.h"
#include "platform/audiotoolbox/AudioBufferList.h"
#include "platform/audiotoolbox/AudioComponentDescription.h"
#include "platform/audiotoolbox/AudioTimeStamp.h"

namespace platform {

class AUAudioUnitBusArray;
class AUParameterTree;
class NSError;

/// Bits that go with a render or pull call; none is used here, 0.
using AudioUnitRenderActionFlags = std::uint32_t;
/// Bits for making an audio unit; none is used here, 0.
using AudioComponentInstantiationOptions = std::uint32_t;

/// Fills `data` with frameCount frames of an input bus: into the buffers given, or by pointing the
/// list at the host's own, whose samples the audio unit may then overwrite only where it works in
/// place. Returns 0 or an error.
using AURenderPullInputBlock = std::function<AUAudioUnitStatus(
    AudioUnitRenderActionFlags* flags, const AudioTimeStamp* timestamp,
    AUAudioFrameCount frameCount, std::int64_t inputBusNumber, AudioBufferList* data)>;

/// Renders one cycle of at most maximumFramesToRender frames into `data`; a null data pointer in
/// its first buffer means rendering in place. Events are sorted and lie inside the cycle.
/// Runs on the audio thread: no allocation, lock, system call or print. Returns 0 or an error.
using AUInternalRenderBlock = std::function<AUAudioUnitStatus(
    AudioUnitRenderActionFlags* flags, const AudioTimeStamp* timestamp,
    AUAudioFrameCount frameCount, std::int64_t outputBusNumber, AudioBufferList* data,
    const AURenderEvent* eventListHead, const AURenderPullInputBlock& pullInputBlock)>;

/// The host's tempo (beats a minute), metre and position (beats). False where it has none.
using AUHostMusicalContextBlock = std::function<bool(
    double* currentTempo, double* timeSignatureNumerator, std::int64_t* timeSignatureDenominator,
    double* currentBeatPosition, std::int64_t* sampleOffsetToNextBeat,
    double* currentMeasureDownbeatPosition)>;

/// What the host's transport does, with its position (frames) and cycle (beats).
using AUHostTransportStateBlock =
    std::function<bool(std::uint32_t* flags, double* currentSamplePosition,
                       double* cycleStartBeatPosition, double* cycleEndBeatPosition)>;

/// Sends the audio unit a MIDI message of `length` bytes, to take effect at `time` (frames).
using AUScheduleMIDIEventBlock = std::function<void(
    AUEventSampleTime time, std::uint8_t cable, std::int64_t length, const std::uint8_t* bytes)>;
/// Takes a MIDI message that the audio unit gives out; 0 or an error.
using AUMIDIOutputEventBlock = std::function<AUAudioUnitStatus(
    AUEventSampleTime time, std::uint8_t cable, std::int64_t length, const std::uint8_t* bytes)>;

/// One entry of a saved state: a number, a text, or parameter values by address.
using AUStateValue = std::variant<std::int64_t, std::string, std::map<AUParameterAddress, AUValue>>;
/// A saved state, by key.
using AUState = std::map<std::string, AUStateValue>;

/// The base class of audio units. Everything but the render block belongs to the host's
/// non-real-time threads, one at a time.
///
/// Life: construct, initWithComponentDescription; set bus formats, maximumFramesToRender and host
/// blocks; allocateRenderResourcesAndReturnError; internalRenderBlock; deallocateRenderResources;
/// and again.
class AUAudioUnit {
 public:
    AUAudioUnit();
    virtual ~AUAudioUnit();
    AUAudioUnit(const AUAudioUnit&) = delete;
    AUAudioUnit& operator=(const AUAudioUnit&) = delete;

    /// The second half of construction. False, with *error set where error is given, when it
    /// fails: here, when the description leaves type, subtype or maker open (invalidComponentID).
    virtual bool initWithComponentDescription(const AudioComponentDescription& description,
                                              AudioComponentInstantiationOptions options,
                                              NSError* error);
    const AudioComponentDescription& componentDescription() const { return description_; }

    virtual std::shared_ptr<AUAudioUnitBusArray> inputBusses() const;
    virtual std::shared_ptr<AUAudioUnitBusArray> outputBusses() const;
    virtual std::shared_ptr<AUParameterTree> parameterTree() const;
    virtual void setParameterTree(std::shared_ptr<AUParameterTree> tree);

    /// The longest cycle of the host, in frames; fixed while render resources are
    /// allocated.
    AUAudioFrameCount maximumFramesToRender() const { return maximumFramesToRender_; }
    void setMaximumFramesToRender(AUAudioFrameCount frames);

    /// Makes ready to render; subclasses call this first. False, with *error set where error is
    /// given: here, when maximumFramesToRender is 0 (kAudioUnitErr_FailedInitialization).
    virtual bool allocateRenderResourcesAndReturnError(NSError* error);
    virtual void deallocateRenderResources();
    bool renderResourcesAllocated() const { return renderResourcesAllocated_; }

    /// Valid while render resources are allocated and the audio unit lives. Here: an empty block.
    virtual AUInternalRenderBlock internalRenderBlock();

    virtual bool canProcessInPlace() const { return false; }
    virtual double latency() const { return 0; }   // seconds
    virtual double tailTime() const { return 0; }  // seconds
    virtual std::vector<std::string> MIDIOutputNames() const { return {}; }

    using PresetPointer = std::shared_ptr<AUAudioUnitPreset>;
    virtual std::vector<PresetPointer> factoryPresets() const { return {}; }
    virtual PresetPointer currentPreset() const { return currentPreset_; }
    virtual void setCurrentPreset(PresetPointer preset);

    /// Addresses of the parameters that matter most, for a host with room for `count`.
    virtual std::vector<std::uint64_t> parametersForOverviewWithCount(std::int64_t count) const;

    /// What a host saves and restores: "type", "subtype" and "manufacturer" (codes), "version",
    /// "preset-number" and "name" of the current preset, and under "data" each writable
    /// parameter's value. A state of another component is ignored, as are entries of other types
    /// and unknown addresses; the preset is taken up before the values.
    virtual AUState fullState() const;
    virtual void setFullState(const AUState& state);

    // What the host lends, before render resources are allocated; empty where it has none.
    const AUHostMusicalContextBlock& musicalContextBlock() const { return musicalContext_; }
    const AUHostTransportStateBlock& transportStateBlock() const { return transportState_; }
    const AUScheduleMIDIEventBlock& scheduleMIDIEventBlock() const { return scheduleMIDIEvent_; }
    const AUMIDIOutputEventBlock& MIDIOutputEventBlock() const { return midiOutputEvent_; }
    void setMusicalContextBlock(AUHostMusicalContextBlock block);
    void setTransportStateBlock(AUHostTransportStateBlock block);
    void setScheduleMIDIEventBlock(AUScheduleMIDIEventBlock block);
    void setMIDIOutputEventBlock(AUMIDIOutputEventBlock block);

 protected:
    void setRenderResourcesAllocated(bool allocated) { renderResourcesAllocated_ = allocated; }

 private:
    AudioComponentDescription description_;
    std::shared_ptr<AUParameterTree> parameterTree_;
    PresetPointer currentPreset_;
    AUAudioFrameCount maximumFramesToRender_ = 512;
    bool renderResourcesAllocated_ = false;
    AUHostMusicalContextBlock musicalContext_;
    AUHostTransportStateBlock transportState_;
    AUScheduleMIDIEventBlock scheduleMIDIEvent_;
    AUMIDIOutputEventBlock midiOutputEvent_;
};

}  // namespace platform
