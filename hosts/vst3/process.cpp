// The plug-in as component and audio processor: busses, activation, blocks.

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <mutex>

#include "hosts/vst3/Plugin.h"
#include "hosts/vst3/identity.h"
#include "hosts/vst3/text16.h"

namespace qov::hosts::vst3 {

namespace {

constexpr v3_speaker_arrangement stereo = V3_SPEAKER_L | V3_SPEAKER_R;
constexpr std::int32_t midiChannels = 16;

// Busses: a stereo input and output, and an input of MIDI events

bool isBus(std::int32_t media, std::int32_t direction, std::int32_t index) {
    if (index != 0) return false;
    if (media == V3_AUDIO) return direction == V3_INPUT || direction == V3_OUTPUT;
    return media == V3_EVENT && direction == V3_INPUT;
}

std::int32_t getBusCount(std::int32_t media, std::int32_t direction) {
    return isBus(media, direction, 0) ? 1 : 0;
}

v3_result getBusInfo(std::int32_t media, std::int32_t direction, std::int32_t index,
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

v3_result getRoutingInfo(v3_routing_info* input, v3_routing_info* output) {
    if (!input || !output || !isBus(input->media_type, V3_INPUT, input->bus_idx))
        return V3_INVALID_ARG;
    if (input->media_type != V3_AUDIO) return V3_FALSE;
    *output = {.media_type = V3_AUDIO, .bus_idx = 0, .channel = input->channel};
    return V3_OK;
}

v3_result activateBus(std::int32_t media, std::int32_t direction, std::int32_t index, v3_bool) {
    return isBus(media, direction, index) ? V3_OK : V3_INVALID_ARG;
}

v3_result setBusArrangements(v3_speaker_arrangement* inputs, std::int32_t inputCount,
                             v3_speaker_arrangement* outputs, std::int32_t outputCount) {
    const bool isStereo = inputs && outputs && inputCount == 1 && outputCount == 1 &&
                          inputs[0] == stereo && outputs[0] == stereo;
    return isStereo ? V3_OK : V3_FALSE;
}

v3_result getBusArrangement(std::int32_t direction, std::int32_t index,
                            v3_speaker_arrangement* arrangement) {
    if (!arrangement || !isBus(V3_AUDIO, direction, index)) return V3_INVALID_ARG;
    *arrangement = stereo;
    return V3_OK;
}

v3_result canProcessSampleSize(std::int32_t size) {
    return size == V3_SAMPLE_32 ? V3_OK : V3_FALSE;
}

/// The two channels of the first bus; null for a missing one.
struct Channels {
    Channels(const v3_audio_bus_buffers* buses, std::int32_t count) {
        if (!buses || count < 1 || !buses[0].channel_buffers_32) return;
        for (int channel = 0; channel < std::min(buses[0].num_channels, 2); ++channel)
            at[channel] = buses[0].channel_buffers_32[channel];
    }
    float* at[2] = {};
};

/// A parameter's queue of a block, and its next point.
struct Queue {
    v3_param_value_queue** points;
    v3_param_id id;
    std::int32_t index, count;
    std::uint32_t frame;
    double value;

    /// To the next point, without those of NaN. False at the end.
    bool advance(std::uint32_t frames) {
        while (index < count) {
            std::int32_t offset = 0;
            value = std::nan("");
            const auto result = v3_cpp_obj(points)->get_point(points, index++, &offset, &value);
            if (result != V3_OK || std::isnan(value)) continue;
            frame = std::min(static_cast<std::uint32_t>(std::max(offset, 0)),
                             std::max(frames, std::uint32_t{1}) - 1);
            value = std::clamp(value, 0.0, 1.0);
            return true;
        }
        return false;
    }
};

/// Calls visit(queue) for each point of the block's queues, merged by frame: of one frame, that of
/// the earlier queue first. Frames past the block count as its last. Skips unknown parameters and
/// those with their bit in `held`, bit a for address a. A host sends one queue a parameter; queues
/// past that number are skipped. Allocates nothing.
template <class Visit>
void forEachPoint(v3_param_changes** changes, std::uint32_t frames, std::uint32_t held,
                  const Visit& visit) {
    std::array<Queue, addressLimit> queues;
    auto end = queues.begin();
    const auto count = changes ? v3_cpp_obj(changes)->get_param_count(changes) : 0;
    for (std::int32_t i = 0; i < count && end != queues.end(); ++i) {
        auto** points = v3_cpp_obj(changes)->get_param_data(changes, i);
        if (!points) continue;
        const auto id = v3_cpp_obj(points)->get_param_id(points);
        if (!ReportedValues::has(id) || held >> id & 1) continue;
        *end = {points, id, 0, v3_cpp_obj(points)->get_point_count(points), 0, 0};
        if (end->advance(frames)) ++end;
    }
    while (end != queues.begin()) {
        const auto earliest = std::min_element(
            queues.begin(), end, [](const Queue& a, const Queue& b) { return a.frame < b.frame; });
        visit(*earliest);
        if (!earliest->advance(frames)) end = std::copy(std::next(earliest), end, earliest);
    }
}

}  // namespace

// The controller is the same object, so it has no class of its own.
constexpr v3_component_cpp Plugin::componentTable{
    unknownEntries,
    {entry<&Plugin::initialize>, entry<&Plugin::terminate>},
    {returns<V3_NOT_IMPLEMENTED>, returns<V3_OK>, entry<&getBusCount>, entry<&getBusInfo>,
     entry<&getRoutingInfo>, entry<&activateBus>, entry<&Plugin::setActive>,
     entry<&Plugin::setState>, entry<&Plugin::getState>}};

constexpr v3_audio_processor_cpp Plugin::processorTable{
    unknownEntries,
    {entry<&setBusArrangements>, entry<&getBusArrangement>, entry<&canProcessSampleSize>,
     entry<&Plugin::latency>, entry<&Plugin::setupProcessing>, entry<&Plugin::setProcessing>,
     entry<&Plugin::process>, entry<&Plugin::tail>}};

// Neither tempo nor position.
constexpr v3_process_context_requirements_cpp Plugin::requirementsTable{unknownEntries,
                                                                        {returns<0>}};

// Activation

v3_result Plugin::setActive(v3_bool isActive) {
    tickNow();
    const std::lock_guard pass(gate_);
    instance_->deactivate();
    if (!isActive) return V3_OK;
    const bool isReady = instance_->activate(sampleRate_, longestBlock_, nullptr);
    isFresh_ = true;
    applyValues();
    return isReady ? V3_OK : V3_INTERNAL_ERR;
}

/// Applies reported values that have not reached the signal; the latency counts as announced.
void Plugin::applyValues() {
    for (v3_param_id id = 0; id < parameterCount; ++id) {
        const auto value = static_cast<float>(values_.get(id));
        if (value != instance_->value(id)) instance_->setValue(id, value);
    }
    instance_->audioUnit().setParameter(volumeId, static_cast<float>(values_.get(volumeId)));
    announcedLatency_ = latency();
}

/// In frames, by the reported value of the bypass.
std::uint32_t Plugin::latency() {
    return values_.get(kBypass) > 0.5 ? 0 : Instance::captureFrames;
}

std::uint32_t Plugin::tail() {
    return Instance::tail(sampleRate_);
}

v3_result Plugin::setupProcessing(v3_process_setup* setup) {
    if (!setup || setup->symbolic_sample_size != V3_SAMPLE_32) return V3_INVALID_ARG;
    if (!std::isfinite(setup->sample_rate) || setup->sample_rate <= 0 || setup->max_block_size < 0)
        return V3_INVALID_ARG;
    sampleRate_ = setup->sample_rate;
    longestBlock_ = static_cast<std::uint32_t>(setup->max_block_size);
    return V3_OK;
}

// Blocks

/// Where the gate is taken, the next block begins with the reset.
v3_result Plugin::setProcessing(v3_bool isProcessing) {
    if (!isProcessing) return V3_OK;
    resetIsAsked_ = true;
    if (const std::unique_lock pass(gate_, std::try_to_lock); pass) resetIfAsked();
    return V3_OK;
}

void Plugin::resetIfAsked() {
    if (!resetIsAsked_ || !resetIsAsked_.exchange(false)) return;
    if (!isFresh_) instance_->reset();
    isFresh_ = true;
}

v3_result Plugin::process(v3_process_data* data) {
    if (!data || data->symbolic_sample_size != V3_SAMPLE_32) return V3_INVALID_ARG;
    const auto frames = static_cast<std::uint32_t>(std::max(data->nframes, 0));
    if (data->num_output_buses > 0 && data->outputs) data->outputs[0].channel_silence_bitset = 0;
    const std::unique_lock pass(gate_, std::try_to_lock);
    if (!pass) {
        missed_ |= readPoints(*data, frames, [](const auto&) {});
        for (float* channel : Channels(data->outputs, data->num_output_buses).at)
            if (channel) std::fill_n(channel, frames, 0.0f);
        return V3_OK;
    }
    resetIfAsked();
    render(*data, frames);
    return V3_OK;
}

/// Calls push for each point of the block and keeps the latest value of each parameter. Returns
/// bit a for each address a that has one.
template <class Push>
std::uint32_t Plugin::readPoints(const v3_process_data& data, std::uint32_t frames,
                                 const Push& push) {
    std::array<std::uint32_t, addressLimit> latest{};  // frame, by address
    std::uint32_t addresses = 0;
    forEachPoint(data.input_params, frames, values_.held(), [&](const Queue& point) {
        push(point);
        addresses |= 1u << point.id;
        if (point.frame < latest[point.id]) return;
        latest[point.id] = point.frame;
        values_.set(point.id, point.value);
    });
    return addresses;
}

void Plugin::render(const v3_process_data& data, std::uint32_t frames) {
    const Channels in(data.inputs, data.num_input_buses);
    const Channels out(data.outputs, data.num_output_buses);
    if (frames > 0) isFresh_ = false;
    instance_->begin(in.at, out.at, frames);
    // The values of blocks that found the gate taken.
    if (missed_.load(std::memory_order_relaxed))
        for (auto missed = missed_.exchange(0); missed; missed &= missed - 1) {
            const auto id = static_cast<v3_param_id>(std::countr_zero(missed));
            instance_->set(0, id, static_cast<float>(values_.get(id)));
        }
    readPoints(data, frames, [&](const Queue& point) {
        instance_->set(point.frame, point.id, static_cast<float>(point.value));
    });
    instance_->end();
}

}  // namespace qov::hosts::vst3
