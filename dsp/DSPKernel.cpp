#include "dsp/DSPKernel.h"

#include "dsp/saturate.h"
#include "platform/audiotoolbox/AURenderEvent.h"
#include "platform/audiotoolbox/AudioTimeStamp.h"

namespace qov {

namespace {

// Frames from now to an event, by the wrapping difference of their times; 0 for one that is late.
std::uint32_t framesUntil(std::int64_t eventTime, std::int64_t now) {
    const auto difference = static_cast<std::int64_t>(static_cast<std::uint64_t>(eventTime) -
                                                      static_cast<std::uint64_t>(now));
    return saturate<std::uint32_t>(static_cast<double>(difference));
}

}  // namespace

void DSPKernel::processWithEvents(const platform::AudioTimeStamp& timestamp,
                                  std::uint32_t frameCount, const platform::AURenderEvent* events) {
    if (frameCount == 0) return;
    if (!events) return process(frameCount, 0);
    processInSegments(timestamp, frameCount, events);
}

void DSPKernel::processInSegments(const platform::AudioTimeStamp& timestamp,
                                  std::uint32_t frameCount, const platform::AURenderEvent* events) {
    auto now = saturate<std::int64_t>(timestamp.mSampleTime);
    std::uint32_t remaining = frameCount;
    const platform::AURenderEvent* event = events;
    do {
        if (!event) {
            process(remaining, frameCount - remaining);
            return;
        }
        const std::uint32_t segment = framesUntil(event->head.eventSampleTime, now);
        if (segment > 0) {
            process(segment, frameCount - remaining);
            remaining -= segment;
            now = static_cast<std::int64_t>(static_cast<std::uint64_t>(now) + segment);
        }
        do {
            handleOneEvent(event);
            event = event->head.next;
        } while (event && event->head.eventSampleTime <= now);
    } while (remaining != 0);
}

void DSPKernel::handleOneEvent(const platform::AURenderEvent* event) {
    if (!event) return;
    switch (event->head.eventType) {
        case platform::AURenderEventParameter:
        case platform::AURenderEventParameterRamp:
            startRamp(event->parameter.parameterAddress, event->parameter.value,
                      event->parameter.rampDurationSampleFrames);
            break;
        case platform::AURenderEventMIDI:
            handleMIDIEvent(event->MIDI);
            break;
        default:
            break;
    }
}

}  // namespace qov
