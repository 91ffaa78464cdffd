#include <jack/jack.h>
#include <jack/midiport.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "hosts/app/SoundLoop.h"
#include "hosts/app/SoundSource.h"
#include "hosts/instance/Instance.h"

namespace qov::app {
namespace {

constexpr std::uint32_t kPiece = 8192;     // frames of the scratch; longer cycles come in several
constexpr std::size_t kMostEvents = 4096;  // of a cycle; what is beyond is lost

class JackSource final : public SoundSource {
 public:
    JackSource(jack_client_t* client, std::function<void()> onEnd)
        : client_(client), onEnd_(std::move(onEnd)) {
        for (auto& scratch : scratch_) scratch.resize(kPiece);
        events_.reserve(kMostEvents);
    }

    ~JackSource() override {
        jack_deactivate(client_);
        jack_client_close(client_);
    }

    bool registerPorts();
    double rate() const override { return jack_get_sample_rate(client_); }
    std::uint32_t longestBlock() const override { return kPiece; }
    bool start(hosts::Instance& instance, SoundLoop& loop) override;
    void tellLatency() override { jack_recompute_total_latencies(client_); }

 private:
    void process(std::uint32_t frames);
    void gatherEvents(std::uint32_t frames);
    void connectOutputs();
    void addLatency(jack_latency_callback_mode_t mode);

    jack_client_t* client_;
    std::function<void()> onEnd_;
    std::array<jack_port_t*, 2> input_{}, output_{};
    jack_port_t* midi_ = nullptr;
    hosts::Instance* instance_ = nullptr;
    SoundLoop* loop_ = nullptr;
    std::array<std::vector<float>, 2> scratch_;
    std::vector<hosts::HostEvent> events_, piece_;
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
    piece_.reserve(kMostEvents);
    jack_set_process_callback(
        client_,
        [](jack_nframes_t frames, void* self) {
            static_cast<JackSource*>(self)->process(frames);
            return 0;
        },
        this);
    jack_on_shutdown(
        client_, [](void* self) { static_cast<JackSource*>(self)->onEnd_(); }, this);
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

/// What comes out is later than what went in, and what goes in is heard later, by the effect's own.
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

void JackSource::gatherEvents(std::uint32_t frames) {
    events_.clear();
    void* buffer = jack_port_get_buffer(midi_, frames);
    const auto count = std::min<std::size_t>(jack_midi_get_event_count(buffer), kMostEvents);
    for (std::uint32_t i = 0; i < count; ++i) {
        jack_midi_event_t event;
        if (jack_midi_event_get(&event, buffer, i) != 0 || event.size != 3) continue;
        events_.push_back(hosts::HostEvent::message(
            event.time, {event.buffer[0], event.buffer[1], event.buffer[2]}));
    }
}

void JackSource::process(std::uint32_t frames) {
    gatherEvents(frames);
    std::array<const float*, 2> in{};
    std::array<float*, 2> out{};
    for (std::size_t side = 0; side < 2; ++side) {
        in[side] = static_cast<const float*>(jack_port_get_buffer(input_[side], frames));
        out[side] = static_cast<float*>(jack_port_get_buffer(output_[side], frames));
    }
    for (std::uint32_t begin = 0; begin < frames;) {
        const auto count = std::min(frames - begin, kPiece);
        for (std::size_t side = 0; side < 2; ++side)
            std::copy_n(in[side] + begin, count, scratch_[side].begin());
        loop_->mixInto(scratch_[0].data(), scratch_[1].data(), count);
        piece_.clear();
        for (auto event : events_) {
            if (event.frame < begin || event.frame >= begin + count) continue;
            event.frame -= begin;
            piece_.push_back(event);
        }
        const float* const input[2] = {scratch_[0].data(), scratch_[1].data()};
        float* const output[2] = {out[0] + begin, out[1] + begin};
        instance_->process(input, output, count, piece_);
        begin += count;
    }
}

}  // namespace

std::unique_ptr<SoundSource> openJack(const std::string& server, std::function<void()> onEnd) {
    // The library writes every failed attempt to the terminal by itself.
    jack_set_error_function([](const char*) {});
    jack_set_info_function([](const char*) {});
    constexpr auto kNoServerStart = static_cast<unsigned>(JackNoStartServer);
    auto* client =
        server.empty()
            ? jack_client_open("kelvane", static_cast<jack_options_t>(kNoServerStart), nullptr)
            : jack_client_open("kelvane",
                               static_cast<jack_options_t>(kNoServerStart | JackServerName),
                               nullptr, server.c_str());
    if (!client) return nullptr;
    auto source = std::make_unique<JackSource>(client, std::move(onEnd));
    if (!source->registerPorts()) return nullptr;
    return source;
}

}  // namespace qov::app
