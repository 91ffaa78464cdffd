#include "hosts/clap/ClapPlugin.h"

#include <clap/ext/latency.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string>

#include "audiounit/parameters.h"
#include "hosts/instance/guarded.h"
#include "hosts/instance/made.h"
#include "hosts/window/makeInstance.h"
#include "platform/foundation/NSError.h"

namespace qov::hosts::clap {

namespace {

constexpr std::uint32_t timerPeriod = 200;  // ms

/// The first two channels of a port; null for a missing one.
template <class Sample, class Buffer>
void findChannels(Buffer* ports, std::uint32_t count, Sample* (&channels)[2]) {
    for (std::uint32_t channel = 0; channel < 2; ++channel) {
        const bool isThere =
            ports && count > 0 && ports[0].data32 && channel < ports[0].channel_count;
        channels[channel] = isThere ? ports[0].data32[channel] : nullptr;
    }
}

/// An event of that type, or null where it is another or smaller than one.
template <class Event>
const Event* as(const clap_event_header_t* header, std::uint16_t type) {
    const bool isIt = header && header->space_id == CLAP_CORE_EVENT_SPACE_ID &&
                      header->type == type && header->size >= sizeof(Event);
    return isIt ? reinterpret_cast<const Event*>(header) : nullptr;
}

bool pushValue(const clap_output_events_t* events, std::uint32_t frame, std::uint32_t flags,
               std::uint64_t address, float value) {
    const clap_event_param_value_t event{
        .header = {sizeof event, frame, CLAP_CORE_EVENT_SPACE_ID, CLAP_EVENT_PARAM_VALUE, flags},
        .param_id = static_cast<clap_id>(address),
        .cookie = nullptr,
        .note_id = -1,
        .port_index = -1,
        .channel = -1,
        .key = -1,
        .value = value};
    return events->try_push(events, &event.header);
}

bool pushEdit(const clap_output_events_t* events, const EditExchange::Edit& edit) {
    using Kind = EditExchange::Edit::Kind;
    if (edit.kind == Kind::value)
        return pushValue(events, 0, CLAP_EVENT_IS_LIVE, edit.address, edit.value);
    const auto type = static_cast<std::uint16_t>(
        edit.kind == Kind::begin ? CLAP_EVENT_PARAM_GESTURE_BEGIN : CLAP_EVENT_PARAM_GESTURE_END);
    const clap_event_param_gesture_t event{
        .header = {sizeof event, 0, CLAP_CORE_EVENT_SPACE_ID, type, CLAP_EVENT_IS_LIVE},
        .param_id = static_cast<clap_id>(edit.address)};
    return events->try_push(events, &event.header);
}

/// The editor's edits, all at frame 0. One that the host does not take stays pending.
void sendEdits(EditExchange& edits, const clap_output_events_t* events) {
    if (!events) return;
    for (const auto* edit = edits.front(); edit && pushEdit(events, *edit); edit = edits.front())
        edits.pop();
}

ClapPlugin& of(const clap_plugin_t* plugin) {
    return *static_cast<ClapPlugin*>(plugin->plugin_data);
}

const clap_plugin_t functions{
    .desc = nullptr,
    .plugin_data = nullptr,
    .init =
        [](const clap_plugin_t* plugin) {
            return guarded(false, [&] { return of(plugin).init(); });
        },
    .destroy = [](const clap_plugin_t* plugin) { delete &of(plugin); },
    .activate = entry<&ClapPlugin::activate>,
    .deactivate = entry<&ClapPlugin::deactivate>,
    .start_processing = [](const clap_plugin_t*) { return true; },
    .stop_processing = [](const clap_plugin_t*) {},
    .reset = entry<&ClapPlugin::reset>,
    .process = entry<&ClapPlugin::process>,
    .get_extension = [](const clap_plugin_t*,
                        const char* id) { return ClapPlugin::findExtension(id); },
    .on_main_thread = entry<&ClapPlugin::turn>,
};

}  // namespace

ClapPlugin::ClapPlugin(const clap_plugin_descriptor_t* descriptor, const clap_host_t* host)
    : handle_(functions), host_(host) {
    handle_.desc = descriptor;
    handle_.plugin_data = this;
}

bool ClapPlugin::init() {
    host_.findExtensions();
    instance_.reset(made<Instance>([](std::string* error) { return makeInstance({}, error); }));
    if (!instance_) return false;
    latency_ = instance_->latency();
    editor_ = std::make_unique<ClapEditor>(*instance_, host_);
    // For changes of latency, also without an editor: some hosts never make the requested callback.
    clap_id timer;
    if (host_.timers && host_.timers->register_timer(host_.host, timerPeriod, &timer))
        timer_ = timer;
    return true;
}

ClapPlugin::~ClapPlugin() {
    if (timer_) host_.timers->unregister_timer(host_.host, *timer_);
}

// Sound

bool ClapPlugin::activate(double sampleRate, std::uint32_t, std::uint32_t longestBlock) {
    // A restart for a change of latency: the signal continues.
    const bool goesOn = instance_->isActive() && sampleRate == sampleRate_ &&
                        longestBlock == longestBlock_ && restartIsComing_;
    if (!goesOn) {
        instance_->deactivate();
        platform::NSError error;
        if (!instance_->activate(sampleRate, longestBlock, &error)) {
            std::fprintf(stderr, "kelvane: the effect does not run at %g Hz: %s\n", sampleRate,
                         error.localizedDescription().c_str());
            return false;
        }
        sampleRate_ = sampleRate;
        longestBlock_ = longestBlock;
        tail_ = Instance::tail(sampleRate);
    }
    isActive_ = true;
    restartIsComing_ = hasAskedForRestart_ = false;
    const auto now = instance_->latency();
    if (latency_.exchange(now) != now && host_.latency) host_.latency->changed(host_.host);
    return true;
}

void ClapPlugin::deactivate() {
    isActive_ = false;
    // Not the requested restart, if the latency has gone back meanwhile.
    restartIsComing_ = restartIsComing_ && instance_->latency() != latency_;
    if (!restartIsComing_) instance_->deactivate();
}

clap_process_status ClapPlugin::process(const clap_process_t* block) {
    if (!block) return CLAP_PROCESS_ERROR;
    const float* input[2];
    float* output[2];
    findChannels(block->audio_inputs, block->audio_inputs_count, input);
    findChannels(block->audio_outputs, block->audio_outputs_count, output);
    sendEdits(instance_->edits(), block->out_events);
    instance_->begin(input, output, block->frames_count);
    pushEvents(block->in_events, block->frames_count, block->out_events);
    instance_->end();
    noticeLatency();

    if (!block->audio_outputs || block->audio_outputs_count == 0) return CLAP_PROCESS_TAIL;
    auto& port = block->audio_outputs[0];
    port.constant_mask = 0;
    const bool isUnknownFormat = !port.data32 && port.data64 && block->frames_count > 0;
    return isUnknownFormat || !isActive_ ? CLAP_PROCESS_ERROR : CLAP_PROCESS_TAIL;
}

void ClapPlugin::pushEvents(const clap_input_events_t* events, std::uint32_t frames,
                            const clap_output_events_t* out) {
    const std::uint32_t count = events ? events->size(events) : 0;
    std::uint32_t latest = 0;  // frame of the last event sent; a host requires them in order
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto* header = events->get(events, i);
        if (const auto* value = as<clap_event_param_value_t>(header, CLAP_EVENT_PARAM_VALUE)) {
            // The volume is no parameter of the format.
            if (isHostParameter(value->param_id))
                instance_->set(header->time, value->param_id,
                               static_cast<float>(std::clamp(value->value, 0.0, 1.0)));
        } else if (const auto* midi = as<clap_event_midi_t>(header, CLAP_EVENT_MIDI)) {
            const auto moved = instance_->midi(header->time, midi->data);
            latest = std::max(latest, std::min(header->time, std::max(frames, 1u) - 1));
            // For the host to show, but not to record.
            if (out && moved && isHostParameter(moved->address))
                pushValue(out, latest, CLAP_EVENT_DONT_RECORD, moved->address, moved->value);
        }
    }
}

void ClapPlugin::flush(const clap_input_events_t* in, const clap_output_events_t* out) {
    sendEdits(instance_->edits(), out);
    instance_->begin({}, {}, 0);
    pushEvents(in, 0, out);
    instance_->end();
    if (isActive_)
        noticeLatency();
    else
        instance_->pump();
}

// Latency: it may change only in activate(), so an active plug-in requests a restart.

std::uint32_t ClapPlugin::latency() {
    if (!isActive_) latency_ = instance_->latency();
    return latency_;
}

/// After a block: requests a callback on the main thread if the latency has changed.
void ClapPlugin::noticeLatency() {
    if (instance_->latency() == latency_.load(std::memory_order_relaxed))
        hasAskedForRestart_.store(false, std::memory_order_relaxed);
    else if (!hasAskedForRestart_.load(std::memory_order_relaxed) &&
             !hasAskedForCallback_.exchange(true))
        host_.host->request_callback(host_.host);
}

void ClapPlugin::announceLatency() {
    if (!isActive_ || instance_->latency() == latency_) return;
    if (hasAskedForRestart_.exchange(true)) return;
    restartIsComing_ = true;
    host_.host->request_restart(host_.host);
}

// Parameters

bool ClapPlugin::getValue(clap_id id, double* value) {
    if (!isHostParameter(id) || !value) return false;
    *value = double{instance_->value(id)};
    return true;
}

bool ClapPlugin::valueToText(clap_id id, double value, char* text, std::uint32_t size) {
    if (!isHostParameter(id) || !text || size == 0) return false;
    const auto words = instance_->valueText(id, static_cast<float>(value));
    std::snprintf(text, size, "%s", words.c_str());
    return true;
}

bool ClapPlugin::textToValue(clap_id id, const char* text, double* value) {
    if (!isHostParameter(id) || !text || !value) return false;
    const auto parsed = instance_->parseValue(id, text);
    if (parsed) *value = double{*parsed};
    return parsed.has_value();
}

// State and presets

bool ClapPlugin::save(const clap_ostream_t* stream) {
    const auto text = instance_->saveState();
    for (std::size_t written = 0; written < text.size();) {
        if (!stream) return false;
        const auto count = stream->write(stream, text.data() + written, text.size() - written);
        if (count <= 0) return false;
        written += static_cast<std::size_t>(count);
    }
    return true;
}

bool ClapPlugin::load(const clap_istream_t* stream) {
    if (!stream) return false;
    std::string text;
    std::array<char, 4096> part;
    while (const auto count = stream->read(stream, part.data(), part.size())) {
        if (count < 0 || count > static_cast<int64_t>(part.size())) return false;
        text.append(part.data(), static_cast<std::size_t>(count));
        if (text.size() > Instance::largestState) return false;
    }
    if (!instance_->restoreState(text)) return false;
    reportNewValues();
    return true;
}

/// Returns what is wrong; empty if nothing is.
std::string ClapPlugin::selectPreset(std::uint32_t kind, const char* location, const char* key) {
    std::string error;
    if (kind == abi::inFile && location) {
        if (const auto preset = Preset::read(location, sampleRate_, &error))
            instance_->selectPreset(*preset);
        return error;
    }
    std::size_t number = 0;
    const char* const end = key ? key + std::strlen(key) : nullptr;
    const bool isOurs = kind == abi::inPlugin && key && *key &&
                        std::from_chars(key, end, number).ptr == end &&
                        instance_->selectPreset(number);
    return isOurs ? "" : "the plug-in has no such preset";
}

bool ClapPlugin::loadPreset(std::uint32_t kind, const char* location, const char* key) {
    if (const auto error = selectPreset(kind, location, key); !error.empty()) {
        if (host_.presets)
            host_.presets->on_error(host_.host, kind, location, key, 0, error.c_str());
        return false;
    }
    reportNewValues();
    // The preset's name is in the state, and no parameter.
    if (host_.state) host_.state->mark_dirty(host_.host);
    if (host_.presets) host_.presets->loaded(host_.host, kind, location, key);
    return true;
}

/// After all values have changed at once: updates the editor, and the host reads them again.
void ClapPlugin::reportNewValues() {
    turn();
    if (host_.params) host_.params->rescan(host_.host, CLAP_PARAM_RESCAN_VALUES);
}

// Main thread

void ClapPlugin::turn() {
    hasAskedForCallback_ = false;
    instance_->pump();
    if (instance_->edits().isPending() && host_.params) host_.params->request_flush(host_.host);
    announceLatency();
    editor_->reportClosed();
}

void ClapPlugin::destroyEditor() {
    editor_->destroy();
    turn();
}

}  // namespace qov::hosts::clap

/// For the entry. Any thread.
extern "C" [[gnu::visibility("default")]] const clap_plugin_t* kelvane_clap_create(
    const clap_plugin_descriptor_t* descriptor, const clap_host_t* host) {
    return qov::hosts::guarded(static_cast<const clap_plugin_t*>(nullptr), [&] {
        return (new qov::hosts::clap::ClapPlugin(descriptor, host))->handle();
    });
}
