#include "hosts/clap/ClapPlugin.h"

#include <clap/ext/latency.h>

#include <algorithm>
#include <cstdio>

#include "hosts/clap/extensions.h"
#include "hosts/instance/made.h"
#include "hosts/window/makeInstance.h"
#include "platform/foundation/NSError.h"

namespace qov::hosts::clap {

namespace {

constexpr std::uint32_t timerPeriod = 200;  // ms

/// The first two channels of a port; null for what is not there.
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
    .activate =
        [](const clap_plugin_t* plugin, double rate, uint32_t, uint32_t longestBlock) {
            return ClapPlugin::call(plugin, false,
                                    [&](auto& self) { return self.activate(rate, longestBlock); });
        },
    .deactivate =
        [](const clap_plugin_t* plugin) {
            ClapPlugin::run(plugin, [](auto& self) { self.deactivate(); });
        },
    .start_processing = [](const clap_plugin_t*) { return true; },
    .stop_processing = [](const clap_plugin_t*) {},
    .reset =
        [](const clap_plugin_t* plugin) {
            ClapPlugin::run(plugin, [](auto& self) { self.instance().reset(); });
        },
    .process =
        [](const clap_plugin_t* plugin, const clap_process_t* block) {
            constexpr clap_process_status error = CLAP_PROCESS_ERROR;
            if (!block) return error;
            return ClapPlugin::call(plugin, error,
                                    [&](auto& self) { return self.process(*block); });
        },
    // Not before init(): the format says so.
    .get_extension = [](const clap_plugin_t*, const char* id) { return extensions::find(id); },
    .on_main_thread =
        [](const clap_plugin_t* plugin) {
            ClapPlugin::run(plugin, [](auto& self) { self.turn(); });
        },
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
    outbox_.emplace(instance_->edits());
    latency_ = instance_->latency();
    editor_ = std::make_unique<ClapEditor>(*instance_, host_);
    // For the latency's sake, without an editor, too: there are hosts whose callback never comes.
    clap_id timer;
    if (host_.timers && host_.timers->register_timer(host_.host, timerPeriod, &timer))
        timer_ = timer;
    return true;
}

ClapPlugin::~ClapPlugin() {
    if (timer_) host_.timers->unregister_timer(host_.host, *timer_);
}

// Sound

bool ClapPlugin::activate(double sampleRate, std::uint32_t longestBlock) {
    // A restart for the latency's sake: the sound goes on where it was.
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
    // Not the restart that was asked for, if the latency has gone back meanwhile.
    restartIsComing_ = restartIsComing_ && instance_->latency() != latency_;
    if (!restartIsComing_) instance_->deactivate();
}

clap_process_status ClapPlugin::process(const clap_process_t& block) {
    const float* input[2];
    float* output[2];
    findChannels(block.audio_inputs, block.audio_inputs_count, input);
    findChannels(block.audio_outputs, block.audio_outputs_count, output);
    outbox_->sendEdits(block.out_events);
    instance_->begin(input, output, block.frames_count);
    pushEvents(block.in_events, block.frames_count, block.out_events);
    instance_->end();
    noticeLatency();

    if (!block.audio_outputs || block.audio_outputs_count == 0) return CLAP_PROCESS_TAIL;
    auto& port = block.audio_outputs[0];
    port.constant_mask = 0;
    const bool isUnknownFormat = !port.data32 && port.data64 && block.frames_count > 0;
    return isUnknownFormat || !isActive_ ? CLAP_PROCESS_ERROR : CLAP_PROCESS_TAIL;
}

void ClapPlugin::pushEvents(const clap_input_events_t* events, std::uint32_t frames,
                            const clap_output_events_t* out) {
    const std::uint32_t count = events ? events->size(events) : 0;
    std::uint32_t latest = 0;  // of the sent events, which are sorted
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
            if (moved && isHostParameter(moved->address))
                EventOutbox::sendController(latest, *moved, out);
        }
    }
}

void ClapPlugin::flush(const clap_input_events_t* in, const clap_output_events_t* out) {
    outbox_->sendEdits(out);
    instance_->begin({}, {}, 0);
    pushEvents(in, 0, out);
    instance_->end();
    if (isActive_)
        noticeLatency();
    else
        instance_->pump();
}

// Latency: it may change only in activate(), so an active plug-in asks for a restart.

std::uint32_t ClapPlugin::latency() {
    if (!isActive_) latency_ = instance_->latency();
    return latency_;
}

/// After a block: has the main thread look, if need be.
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

// Main thread

void ClapPlugin::turn() {
    hasAskedForCallback_ = false;
    instance_->pump();
    if ((instance_->edits().isWaiting() || outbox_->hasLeft()) && host_.params)
        host_.params->request_flush(host_.host);
    announceLatency();
    editor_->reportClosed();
}

}  // namespace qov::hosts::clap

/// For the entry. Any thread.
extern "C" [[gnu::visibility("default")]] const clap_plugin_t* kelvane_clap_create(
    const clap_plugin_descriptor_t* descriptor, const clap_host_t* host) {
    return qov::hosts::guarded(static_cast<const clap_plugin_t*>(nullptr), [&] {
        return (new qov::hosts::clap::ClapPlugin(descriptor, host))->handle();
    });
}
