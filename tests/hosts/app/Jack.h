#pragma once

#include <jack/jack.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <stdexcept>

#include "tests/hosts/window/Child.h"

namespace qov::test {

/// A JACK server on its dummy driver (48000 Hz, blocks of 256), with a client that plays 0.5 on the
/// left alone and listens. Each bool function waits, and returns false after half a minute.
class Jack {
 public:
    Jack() {
        jack_set_error_function([](const char*) {});
        jack_set_info_function([](const char*) {});
        const auto options = static_cast<jack_options_t>(JackNoStartServer | JackServerName);
        if (!until([&] {
                client_ = jack_client_open("listener", options, nullptr, name.c_str());
                return client_ != nullptr;
            }))
            throw std::runtime_error("jackd does not answer");
        const auto port = [&](const char* as, JackPortFlags flags) {
            return jack_port_register(client_, as, JACK_DEFAULT_AUDIO_TYPE, flags, 0);
        };
        ears_ = {port("left", JackPortIsInput), port("right", JackPortIsInput)};
        mouths_ = {port("0.5", JackPortIsOutput), port("0", JackPortIsOutput)};
        jack_set_process_callback(
            client_, [](auto frames, void* self) { return static_cast<Jack*>(self)->hear(frames); },
            this);
        jack_activate(client_);
    }
    ~Jack() {
        if (client_) jack_client_close(client_);
        server_.signal(SIGTERM);
        server_.wait();
    }
    Jack(const Jack&) = delete;
    Jack& operator=(const Jack&) = delete;

    /// Connects once the two ports of the other client are there.
    bool listenTo(const std::string& left, const std::string& right) const {
        return connect(left, jack_port_name(ears_[0])) && connect(right, jack_port_name(ears_[1]));
    }
    bool playInto(const std::string& left, const std::string& right) const {
        return connect(jack_port_name(mouths_[0]), left) &&
               connect(jack_port_name(mouths_[1]), right);
    }
    /// Both sides have these peaks.
    bool hears(float left, float right) const {
        return until([&] {
            return std::abs(peaks_[0] - left) < 0.01F && std::abs(peaks_[1] - right) < 0.01F;
        });
    }
    /// What it hears is reported to be so many frames late.
    bool knowsLatency(jack_nframes_t frames) const {
        return until([&] {
            jack_latency_range_t range;
            jack_port_get_latency_range(ears_[0], JackCaptureLatency, &range);
            return range.min == frames && range.max == frames;
        });
    }

    /// A server that was killed keeps its place in JACK's short list of servers until one of its
    /// name comes; the screen's number makes names that come again.
    const std::string name = "kelvane-test" + std::string(std::getenv("DISPLAY")).substr(1);

 private:
    /// Asked before it connects: the server writes a line about each attempt that fails, and stands
    /// still once nobody reads them.
    bool connect(const std::string& from, const std::string& to) const {
        return until([&] {
            return jack_port_by_name(client_, from.c_str()) &&
                   jack_port_by_name(client_, to.c_str()) &&
                   jack_connect(client_, from.c_str(), to.c_str()) == 0;
        });
    }
    int hear(jack_nframes_t frames) {
        for (std::size_t side = 0; side < 2; ++side) {
            const auto* in = static_cast<float*>(jack_port_get_buffer(ears_[side], frames));
            auto* out = static_cast<float*>(jack_port_get_buffer(mouths_[side], frames));
            const auto [least, most] = std::minmax_element(in, in + frames);
            peaks_[side] = std::max(-*least, *most);
            std::fill_n(out, frames, side == 0 ? 0.5F : 0);
        }
        return 0;
    }

    Child server_{
        {"jackd", "--no-realtime", "-n", name, "-d", "dummy", "-r", "48000", "-p", "256"}};
    jack_client_t* client_ = nullptr;
    std::array<jack_port_t*, 2> ears_{}, mouths_{};
    std::array<std::atomic<float>, 2> peaks_{0, 0};
};

}  // namespace qov::test
