#include "hosts/vst3/Processor.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <mutex>

#include "hosts/instance/Instance.h"
#include "hosts/vst3/Controller.h"
#include "hosts/vst3/Interface.h"
#include "hosts/vst3/ParameterPoints.h"
#include "hosts/vst3/stream.h"
#include "hosts/vst3/text16.h"

namespace qov::hosts::vst3 {

namespace {

constexpr v3_speaker_arrangement stereo = V3_SPEAKER_L | V3_SPEAKER_R;
constexpr std::int32_t midiChannels = 16;

bool isBus(std::int32_t media, std::int32_t direction, std::int32_t index) {
    if (index != 0) return false;
    if (media == V3_AUDIO) return direction == V3_INPUT || direction == V3_OUTPUT;
    return media == V3_EVENT && direction == V3_INPUT;
}

/// The two channels of the first bus, null where there are none.
struct Channels {
    Channels(const v3_audio_bus_buffers* buses, std::int32_t count) {
        if (!buses || count < 1 || !buses[0].channel_buffers_32) return;
        for (int channel = 0; channel < std::min(buses[0].num_channels, 2); ++channel)
            at[channel] = buses[0].channel_buffers_32[channel];
    }
    float* at[2] = {};
};

}  // namespace

// The controller is this very object, so it has no class of its own.
constexpr v3_component_cpp Processor::componentTable{
    unknownEntries,
    {entry<&Processor::initialize>, entry<&Processor::terminate>},
    {returns<V3_NOT_IMPLEMENTED>, returns<V3_OK>, entry<&Processor::getBusCount>,
     entry<&Processor::getBusInfo>, entry<&Processor::getRoutingInfo>,
     entry<&Processor::activateBus>, entry<&Processor::setActive>, entry<&Processor::setState>,
     entry<&Processor::getState>}};

constexpr v3_audio_processor_cpp Processor::processorTable{
    unknownEntries,
    {entry<&Processor::setBusArrangements>, entry<&Processor::getBusArrangement>,
     entry<&Processor::canProcessSampleSize>, entry<&Processor::getLatencySamples>,
     entry<&Processor::setupProcessing>, entry<&Processor::setProcessing>,
     entry<&Processor::process>, entry<&Processor::getTailSamples>}};

// Neither tempo nor position.
constexpr v3_process_context_requirements_cpp Processor::requirementsTable{unknownEntries,
                                                                           {returns<0>}};

Processor::Processor(Instance& instance, ReportedValues& values, Controller& controller)
    : instance_(instance), values_(values), controller_(controller) {}

// Component

v3_result Processor::initialize(v3_funknown** context) {
    return controller_.initialize(context);
}

v3_result Processor::terminate() {
    deactivate();
    return controller_.terminate();
}

std::int32_t Processor::getBusCount(std::int32_t media, std::int32_t direction) {
    return isBus(media, direction, 0) ? 1 : 0;
}

v3_result Processor::getBusInfo(std::int32_t media, std::int32_t direction, std::int32_t index,
                                v3_bus_info* info) {
    if (!info || !isBus(media, direction, index)) return V3_INVALID_ARG;
    *info = {.media_type = media,
             .direction = direction,
             .channel_count = media == V3_AUDIO ? 2 : midiChannels,
             .bus_name = {},
             .bus_type = V3_MAIN,
             .flags = V3_DEFAULT_ACTIVE};
    writeText(media == V3_EVENT       ? "MIDI"
              : direction == V3_INPUT ? "Input"
                                      : "Output",
              info->bus_name);
    return V3_OK;
}

v3_result Processor::getRoutingInfo(v3_routing_info* input, v3_routing_info* output) {
    if (!input || !output || !isBus(input->media_type, V3_INPUT, input->bus_idx))
        return V3_INVALID_ARG;
    if (input->media_type != V3_AUDIO) return V3_FALSE;
    *output = {.media_type = V3_AUDIO, .bus_idx = 0, .channel = input->channel};
    return V3_OK;
}

v3_result Processor::activateBus(std::int32_t media, std::int32_t direction, std::int32_t index,
                                 v3_bool) {
    return isBus(media, direction, index) ? V3_OK : V3_INVALID_ARG;
}

v3_result Processor::setActive(v3_bool isActive) {
    controller_.tickNow();
    if (isActive) return activate() ? V3_OK : V3_INTERNAL_ERR;
    deactivate();
    return V3_OK;
}

bool Processor::activate() {
    const std::lock_guard pass(gate_);
    instance_.deactivate();
    const bool isActive = instance_.activate(sampleRate_, longestBlock_, nullptr);
    isFresh_ = true;
    controller_.applyValues();  // what came for blocks that were never processed
    return isActive;
}

void Processor::deactivate() {
    const std::lock_guard pass(gate_);
    instance_.deactivate();
}

v3_result Processor::setState(v3_bstream** stream) {
    return controller_.restore(stream);
}

v3_result Processor::getState(v3_bstream** stream) {
    if (!stream) return V3_INVALID_ARG;
    return writeAll(stream, controller_.save()) ? V3_OK : V3_INTERNAL_ERR;
}

// Audio processor

v3_result Processor::setBusArrangements(v3_speaker_arrangement* inputs, std::int32_t inputCount,
                                        v3_speaker_arrangement* outputs, std::int32_t outputCount) {
    const bool isStereo = inputs && outputs && inputCount == 1 && outputCount == 1 &&
                          inputs[0] == stereo && outputs[0] == stereo;
    return isStereo ? V3_OK : V3_FALSE;
}

v3_result Processor::getBusArrangement(std::int32_t direction, std::int32_t index,
                                       v3_speaker_arrangement* arrangement) {
    if (!arrangement || !isBus(V3_AUDIO, direction, index)) return V3_INVALID_ARG;
    *arrangement = stereo;
    return V3_OK;
}

v3_result Processor::canProcessSampleSize(std::int32_t size) {
    return size == V3_SAMPLE_32 ? V3_OK : V3_FALSE;
}

std::uint32_t Processor::getLatencySamples() {
    return controller_.latency();
}

v3_result Processor::setupProcessing(v3_process_setup* setup) {
    if (!setup || setup->symbolic_sample_size != V3_SAMPLE_32) return V3_INVALID_ARG;
    if (!std::isfinite(setup->sample_rate) || setup->sample_rate <= 0 || setup->max_block_size < 0)
        return V3_INVALID_ARG;
    sampleRate_ = setup->sample_rate;
    longestBlock_ = static_cast<std::uint32_t>(setup->max_block_size);
    return V3_OK;
}

/// Where the gate is taken, the next block begins with the reset.
v3_result Processor::setProcessing(v3_bool isProcessing) {
    if (!isProcessing) return V3_OK;
    resetIsAsked_ = true;
    if (const std::unique_lock pass(gate_, std::try_to_lock); pass) resetIfAsked();
    return V3_OK;
}

v3_result Processor::process(v3_process_data* data) {
    if (!data || data->symbolic_sample_size != V3_SAMPLE_32) return V3_INVALID_ARG;
    const auto frames = static_cast<std::uint32_t>(std::max(data->nframes, 0));
    if (data->num_output_buses > 0 && data->outputs) data->outputs[0].channel_silence_bitset = 0;
    const std::unique_lock pass(gate_, std::try_to_lock);
    if (!pass) {
        missed_ |= readPoints(*data, frames, [](const ParameterPoints::Point&) {});
        for (float* channel : Channels(data->outputs, data->num_output_buses).at)
            if (channel) std::fill_n(channel, frames, 0.0f);
        return V3_OK;
    }
    resetIfAsked();
    render(*data, frames);
    return V3_OK;
}

void Processor::resetIfAsked() {
    if (!resetIsAsked_ || !resetIsAsked_.exchange(false)) return;
    if (!isFresh_) instance_.reset();
    isFresh_ = true;
}

/// Calls push for each point of the block and keeps the latest value of each parameter. Returns
/// bit a for each address a that has one.
template <class Push>
std::uint32_t Processor::readPoints(const v3_process_data& data, std::uint32_t frames,
                                    const Push& push) {
    std::array<std::uint32_t, addressLimit> latest{};  // frame, by address
    std::uint32_t addresses = 0;
    ParameterPoints points(data.input_params, frames, values_.held());
    while (const auto point = points.next()) {
        push(*point);
        addresses |= 1u << point->id;
        if (point->frame < latest[point->id]) continue;
        latest[point->id] = point->frame;
        values_.set(point->id, point->value);
    }
    return addresses;
}

void Processor::render(const v3_process_data& data, std::uint32_t frames) {
    const Channels in(data.inputs, data.num_input_buses);
    const Channels out(data.outputs, data.num_output_buses);
    if (frames > 0) isFresh_ = false;
    instance_.begin(in.at, out.at, frames);
    // The values of blocks that found the gate taken.
    if (missed_.load(std::memory_order_relaxed))
        for (auto missed = missed_.exchange(0); missed; missed &= missed - 1) {
            const auto id = static_cast<v3_param_id>(std::countr_zero(missed));
            instance_.set(0, id, static_cast<float>(values_.get(id)));
        }
    readPoints(data, frames, [&](const ParameterPoints::Point& point) {
        instance_.set(point.frame, point.id, static_cast<float>(point.value));
    });
    instance_.end();
}

std::uint32_t Processor::getTailSamples() {
    return Instance::tail(sampleRate_);
}

}  // namespace qov::hosts::vst3
