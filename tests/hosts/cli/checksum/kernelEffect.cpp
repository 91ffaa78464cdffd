// The effect straight on the kernel, without the audio unit and what that stands on: few enough
// sources for every compiler and level, and a second way to the same samples.
#include "hosts/cli/Effect.h"

#include <cassert>
#include <cstddef>
#include <vector>

#include "dsp/QOV_Kelvane_PluginDSPKernel.h"
#include "hosts/cli/Automation.h"
#include "hosts/cli/Parameters.h"
#include "platform/audiotoolbox/AURenderEvent.h"
#include "platform/audiotoolbox/AudioBufferList.h"
#include "platform/audiotoolbox/AudioTimeStamp.h"

namespace qov::cli {
namespace {

using platform::AURenderEvent;

AURenderEvent renderEvent(const AutomationEvent& event, platform::AUEventSampleTime time) {
    AURenderEvent result{};
    if (event.kind == AutomationEvent::Kind::parameter) {
        result.parameter = {nullptr,       time,       platform::AURenderEventParameter, {}, 0,
                            event.address, event.value};
    } else {
        const auto& bytes = event.message;
        result.MIDI = {nullptr,      time, platform::AURenderEventMIDI,   0,
                       event.length, 0,    {bytes[0], bytes[1], bytes[2]}};
    }
    return result;
}

}  // namespace

struct Effect::Engine {
    QOV_Kelvane_PluginDSPKernel kernel;
    std::int64_t clock = 0;  ///< frames rendered so far: the time of the next call's start
    std::vector<AURenderEvent> events;  ///< of the next call, linked when it comes
};

Effect::Effect(double sampleRate) : engine_(std::make_unique<Engine>()) {
    engine_->kernel.init(2, sampleRate);
    engine_->kernel.reset();
    for (const auto& parameter : allParameters) set(parameter.address, parameter.initial);
}

Effect::~Effect() = default;

void Effect::set(std::uint64_t address, float value) {
    engine_->kernel.setParameter(address, value);
}

void Effect::schedule(std::uint32_t offset, const AutomationEvent& event) {
    engine_->events.push_back(renderEvent(event, engine_->clock + offset));
}

void Effect::render(float* left, float* right, std::uint32_t frames) {
    assert(frames >= 1 && frames <= maximumFrames);
    auto& [kernel, clock, events] = *engine_;
    for (std::size_t i = 1; i < events.size(); ++i) events[i - 1].head.next = &events[i];

    platform::StereoBufferList buffers(left, right, frames);
    platform::AudioTimeStamp now;
    now.mSampleTime = static_cast<double>(clock);
    now.mFlags = platform::kAudioTimeStampSampleTimeValid;
    kernel.setBuffers(buffers.list(), buffers.list());
    kernel.processWithEvents(now, frames, events.empty() ? nullptr : events.data());

    events.clear();
    clock += frames;
}

std::uint32_t Effect::latency() const {
    return static_cast<std::uint32_t>(engine_->kernel.collectorSize);
}

}  // namespace qov::cli
