#include "hosts/cli/Effect.h"

#include <cassert>
#include <vector>

#include "editor/AudioUnitViewController.h"
#include "hosts/cli/Automation.h"
#include "hosts/cli/Command.h"
#include "hosts/cli/Parameters.h"
#include "hosts/instance/Instance.h"
#include "platform/foundation/NSError.h"

namespace qov::cli {
namespace {

using hosts::HostEvent;

HostEvent hostEvent(const AutomationEvent& event, std::uint32_t offset) {
    if (event.kind == AutomationEvent::Kind::parameter)
        return HostEvent::parameter(offset, event.address, event.value);
    auto message = HostEvent::message(offset, event.message);
    message.midiLength = static_cast<std::uint8_t>(event.length);
    return message;
}

}  // namespace

struct Effect::Engine {
    std::unique_ptr<hosts::Instance> instance;
    std::vector<HostEvent> events;  ///< of the next call
};

Effect::Effect(double sampleRate) : engine_(std::make_unique<Engine>()) {
    platform::NSError error;
    engine_->instance =
        hosts::Instance::create(&error, {}, std::make_shared<AudioUnitViewController>());
    if (!engine_->instance || !engine_->instance->activate(sampleRate, maximumFrames, &error))
        throw Failure("the effect can't be set up: " + error.localizedDescription());
    for (const auto& parameter : allParameters) set(parameter.address, parameter.initial);
}

Effect::~Effect() = default;

void Effect::set(std::uint64_t address, float value) {
    // The volume is the kernel's own and no parameter of the tree.
    if (address == kVolume)
        engine_->instance->audioUnit().setParameter(static_cast<std::int32_t>(address), value);
    else
        engine_->instance->setValue(address, value);
}

void Effect::selectPreset(std::size_t number) {
    engine_->instance->selectFactoryPreset(number);
}

void Effect::schedule(std::uint32_t offset, const AutomationEvent& event) {
    engine_->events.push_back(hostEvent(event, offset));
}

void Effect::render(float* left, float* right, std::uint32_t frames) {
    assert(frames >= 1 && frames <= maximumFrames);
    engine_->instance->process({left, right}, {left, right}, frames, engine_->events);
    engine_->events.clear();
}

std::uint32_t Effect::latency() const {
    return static_cast<std::uint32_t>(engine_->instance->audioUnit().getBufferSize());
}

}  // namespace qov::cli
