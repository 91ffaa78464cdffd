#include "hosts/cli/Renderer.h"

#include <algorithm>
#include <span>
#include <utility>

#include "audiounit/parameters.h"
#include "hosts/instance/Instance.h"

namespace qov::cli {

using hosts::Instance;
using platform::AURenderEvent;

namespace {

std::int64_t frameOf(const AURenderEvent& event) {
    return event.head.eventSampleTime;
}

bool switchesBypass(const AURenderEvent& event) {
    return event.head.eventType == platform::AURenderEventParameter &&
           event.parameter.parameterAddress == kBypass;
}

bool isOn(const AURenderEvent& event) {
    return event.parameter.value > 0.5F;
}

void send(Instance& effect, std::uint32_t frame, const AURenderEvent& event) {
    if (event.head.eventType == platform::AURenderEventMIDI)
        effect.midi(frame, std::span(event.MIDI.data).first(event.MIDI.length));
    else
        effect.set(frame, event.parameter.parameterAddress, event.parameter.value);
}

}  // namespace

Renderer::Renderer(Instance& effect, std::vector<AURenderEvent> events, std::uint32_t block,
                   Timing timing, Sink sink)
    : effect_(effect),
      events_(std::move(events)),
      block_(block),
      timing_(timing),
      sink_(std::move(sink)),
      bypassed_(effect.latency() == 0),
      surplus_(Instance::captureFrames),
      silenceLeft_(block),
      silenceRight_(block) {}

void Renderer::process(float* left, float* right, std::uint32_t frames) {
    for (std::uint32_t begin = 0; begin < frames; begin += block_)
        renderBlock(left + begin, right + begin, std::min(block_, frames - begin));
}

void Renderer::finish() {
    if (timing_ == Timing::aligned) drain();
}

/// Renders one block in runs that are either processed or bypassed as a whole.
void Renderer::renderBlock(float* left, float* right, std::uint32_t frames) {
    std::uint32_t begin = 0;
    while (begin < frames) {
        const std::int64_t now = position_;
        // What bypass will be once the events of this very frame are through.
        bool bypassed = bypassed_;
        std::size_t event = nextEvent_;
        for (; event < events_.size() && frameOf(events_[event]) <= now; ++event)
            if (switchesBypass(events_[event])) bypassed = isOn(events_[event]);
        if (timing_ == Timing::aligned && bypassed && !bypassed_) drain();
        bypassed_ = bypassed;

        // The run ends at the next switch of bypass or with the block.
        std::uint32_t run = frames - begin;
        for (; event < events_.size() && frameOf(events_[event]) < now + run; ++event)
            if (switchesBypass(events_[event]))
                run = static_cast<std::uint32_t>(frameOf(events_[event]) - now);
        float* const runLeft = left + begin;
        float* const runRight = right + begin;
        effect_.begin({runLeft, runRight}, {runLeft, runRight}, run);
        for (; nextEvent_ < events_.size() && frameOf(events_[nextEvent_]) < now + run;
             ++nextEvent_)
            send(effect_, static_cast<std::uint32_t>(frameOf(events_[nextEvent_]) - now),
                 events_[nextEvent_]);
        effect_.end();
        if (bypassed_ || timing_ == Timing::raw)
            sink_(runLeft, runRight, run);
        else
            deliverProcessed(runLeft, runRight, run);
        begin += run;
        position_ += run;
    }
}

void Renderer::deliverProcessed(const float* left, const float* right, std::uint32_t frames) {
    const std::uint32_t dropped = std::min(surplus_, frames);
    surplus_ -= dropped;
    if (dropped < frames) sink_(left + dropped, right + dropped, frames - dropped);
}

/// Pushes the frames that are still in the effect out with silence.
void Renderer::drain() {
    if (surplus_ == Instance::captureFrames) return;
    for (std::uint32_t rest = Instance::captureFrames; rest > 0;) {
        const std::uint32_t frames = std::min(rest, block_);
        std::fill_n(silenceLeft_.begin(), frames, 0.0F);
        std::fill_n(silenceRight_.begin(), frames, 0.0F);
        effect_.process({silenceLeft_.data(), silenceRight_.data()},
                        {silenceLeft_.data(), silenceRight_.data()}, frames);
        deliverProcessed(silenceLeft_.data(), silenceRight_.data(), frames);
        rest -= frames;
    }
    surplus_ = Instance::captureFrames;
}

bool isBypassedThroughout(bool bypassed, const std::vector<AURenderEvent>& events,
                          std::int64_t frames) {
    std::int64_t since = 0;
    for (const auto& event : events) {
        if (frameOf(event) >= frames) break;
        if (!switchesBypass(event)) continue;
        if (!bypassed && frameOf(event) > since) return false;
        bypassed = isOn(event);
        since = frameOf(event);
    }
    return bypassed;
}

}  // namespace qov::cli
