#include <jack/jack.h>
#include <jack/midiport.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>

#include "hosts/app/SoundLoop.h"
#include "hosts/app/SoundSource.h"
#include "hosts/instance/Instance.h"

namespace qov::app {
namespace {

class JackSource final : public SoundSource {
 public:
    explicit JackSource(jack_client_t* client) : client_(client) {}

    ~JackSource() override {
        jack_deactivate(client_);
        jack_client_close(client_);
    }

    bool registerPorts();
    double rate() const override { return jack_get_sample_rate(client_); }
    std::uint32_t longestBlock() const override { return jack_get_buffer_size(client_); }
    bool start(hosts::Instance& instance, SoundLoop& loop) override;
    void reportLatency() override { jack_recompute_total_latencies(client_); }
    bool hasEnded() const override { return hasEnded_.load(); }

 private:
    void process(std::uint32_t frames);
    void pushEvents(std::uint32_t frames);
    void connectOutputs();
    void addLatency(jack_latency_callback_mode_t mode);

    jack_client_t* client_;
    std::atomic<bool> hasEnded_ = false;
    std::array<jack_port_t*, 2> input_{}, output_{};
    jack_port_t* midi_ = nullptr;
    hosts::Instance* instance_ = nullptr;
    SoundLoop* loop_ = nullptr;
};

bool JackSource::registerPorts() {
    const auto port = [&](const char* name, const char* type, unsigned long flags) {
        return jack_port_register(client_, name, type, flags, 0);
    };
    input_ = {port("in left", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput),
              port("in right", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput)};
    output_ = {port("out left", JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput),
               port("out right", JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput)};
    midi_ = port("midi", JACK_DEFAULT_MIDI_TYPE, JackPortIsInput);
    return input_[0] && input_[1] && output_[0] && output_[1] && midi_;
}

bool JackSource::start(hosts::Instance& instance, SoundLoop& loop) {
    instance_ = &instance;
    loop_ = &loop;
    jack_set_process_callback(
        client_,
        [](jack_nframes_t frames, void* self) {
            static_cast<JackSource*>(self)->process(frames);
            return 0;
        },
        this);
    // Closing the client cancels the thread that calls this, wherever it is: it may hold nothing.
    jack_on_shutdown(
        client_, [](void* self) { static_cast<JackSource*>(self)->hasEnded_.store(true); }, this);
    jack_set_latency_callback(
        client_,
        [](jack_latency_callback_mode_t mode, void* self) {
            static_cast<JackSource*>(self)->addLatency(mode);
        },
        this);
    if (jack_activate(client_) != 0) return false;
    connectOutputs();
    return true;
}

void JackSource::connectOutputs() {
    const char** playback = jack_get_ports(client_, nullptr, JACK_DEFAULT_AUDIO_TYPE,
                                           JackPortIsPhysical | JackPortIsInput);
    if (!playback) return;
    for (std::size_t side = 0; side < output_.size() && playback[side]; ++side)
        jack_connect(client_, jack_port_name(output_[side]), playback[side]);
    jack_free(static_cast<void*>(playback));
}

/// Adds the effect's latency to that of the ports.
void JackSource::addLatency(jack_latency_callback_mode_t mode) {
    const bool isCapture = mode == JackCaptureLatency;
    for (std::size_t side = 0; side < 2; ++side) {
        jack_latency_range_t range;
        jack_port_get_latency_range(isCapture ? input_[side] : output_[side], mode, &range);
        range.min += instance_->latency();
        range.max += instance_->latency();
        jack_port_set_latency_range(isCapture ? output_[side] : input_[side], mode, &range);
    }
}

// From here on, JACK's audio thread.

void JackSource::pushEvents(std::uint32_t frames) {
    void* buffer = jack_port_get_buffer(midi_, frames);
    const auto count = jack_midi_get_event_count(buffer);
    for (std::uint32_t i = 0; i < count; ++i) {
        jack_midi_event_t event;
        if (jack_midi_event_get(&event, buffer, i) == 0)
            instance_->midi(event.time, {event.buffer, event.size});
    }
}

void JackSource::process(std::uint32_t frames) {
    float* out[2];
    for (std::size_t side = 0; side < 2; ++side) {
        const auto* in = static_cast<const float*>(jack_port_get_buffer(input_[side], frames));
        out[side] = static_cast<float*>(jack_port_get_buffer(output_[side], frames));
        std::copy_n(in, frames, out[side]);
    }
    loop_->mixInto(out[0], out[1], frames);
    instance_->begin({out[0], out[1]}, {out[0], out[1]}, frames);
    pushEvents(frames);
    instance_->end();
}

}  // namespace

std::unique_ptr<SoundSource> openJack(const std::string& server) {
    // The library writes every failed attempt to the terminal by itself.
    jack_set_error_function([](const char*) {});
    jack_set_info_function([](const char*) {});
    const int options = JackNoStartServer | (server.empty() ? 0 : JackServerName);
    auto* client = jack_client_open("kelvane", static_cast<jack_options_t>(options), nullptr,
                                    server.c_str());  // the name is read with JackServerName only
    if (!client) return nullptr;
    auto source = std::make_unique<JackSource>(client);
    if (!source->registerPorts()) return nullptr;
    return source;
}

}  // namespace qov::app
