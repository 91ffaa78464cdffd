#pragma once

#include <cstdint>

namespace platform {

/// Frames on the clock of AudioTimeStamp::mSampleTime.
using AUEventSampleTime = std::int64_t;
/// A parameter's number within its audio unit.
using AUParameterAddress = std::uint64_t;
/// A parameter's value, in its own range.
using AUValue = float;
/// A number of frames: one sample of each channel.
using AUAudioFrameCount = std::uint32_t;

/// Which form of AURenderEvent it is; all MIDI messages but exclusive ones are of one type.
enum AURenderEventType : std::uint8_t {
    AURenderEventParameter = 1,
    AURenderEventParameterRamp = 2,
    AURenderEventMIDI = 8,
    AURenderEventMIDISysEx = 9,
};

union AURenderEvent;

/// What every event begins with. Times are on the clock of the cycle's AudioTimeStamp, in frames.
struct AURenderEventHeader {
    AURenderEvent* next;
    AUEventSampleTime eventSampleTime;
    AURenderEventType eventType;
    std::uint8_t reserved;
};

/// Also the form of a ramp; rampDurationSampleFrames is in frames, 0 for a jump.
struct AUParameterEvent {
    AURenderEvent* next;
    AUEventSampleTime eventSampleTime;
    AURenderEventType eventType;
    std::uint8_t reserved[3];
    AUAudioFrameCount rampDurationSampleFrames;
    AUParameterAddress parameterAddress;
    AUValue value;
};

/// One MIDI 1.0 message of `length` bytes; longer ones go on behind data[] in the same allocation.
struct AUMIDIEvent {
    AURenderEvent* next;
    AUEventSampleTime eventSampleTime;
    AURenderEventType eventType;
    std::uint8_t reserved;
    std::uint16_t length;
    std::uint8_t cable;
    std::uint8_t data[3];
};

/// One entry of a cycle's event list, sorted by time and linked through head.next; null ends it.
union AURenderEvent {
    AURenderEventHeader head;
    AUParameterEvent parameter;
    AUMIDIEvent MIDI;
};

}  // namespace platform
