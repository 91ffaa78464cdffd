#include "tests/hosts/app/Jack.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace qov::test {

bool until(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

// A server that was killed keeps its place in JACK's short list of servers until one of its name
// comes; the screen's number makes names that come again.
Jack::Jack()
    : name("kelvane-test" + std::string(std::getenv("DISPLAY")).substr(1)),
      server_({"jackd", "--no-realtime", "-n", name, "-d", "dummy", "-r", "48000", "-p", "256"}) {
    jack_set_error_function([](const char*) {});
    jack_set_info_function([](const char*) {});
    const auto options = static_cast<jack_options_t>(JackNoStartServer | JackServerName);
    if (!until([&] {
            client_ = jack_client_open("listener", options, nullptr, name.c_str());
            return client_ != nullptr;
        }))
        throw std::runtime_error("jackd does not answer");
    const auto port = [&](const char* portName, JackPortFlags flags) {
        return jack_port_register(client_, portName, JACK_DEFAULT_AUDIO_TYPE, flags, 0);
    };
    ears_ = {port("left", JackPortIsInput), port("right", JackPortIsInput)};
    mouths_ = {port("0.5", JackPortIsOutput), port("0", JackPortIsOutput)};
    const auto process = [](jack_nframes_t frames, void* self) {
        auto& jack = *static_cast<Jack*>(self);
        for (std::size_t side = 0; side < 2; ++side) {
            const auto memory = [&](jack_port_t* of) {
                return static_cast<float*>(jack_port_get_buffer(of, frames));
            };
            const auto* in = memory(jack.ears_[side]);
            float most = 0;
            for (jack_nframes_t i = 0; i < frames; ++i) most = std::max(most, std::abs(in[i]));
            jack.peaks_[side] = most;
            std::fill_n(memory(jack.mouths_[side]), frames, side == 0 ? 0.5F : 0);
        }
        return 0;
    };
    jack_set_process_callback(client_, process, this);
    jack_activate(client_);
}

Jack::~Jack() {
    if (client_) jack_client_close(client_);
    server_.signal(SIGTERM);
    server_.wait();
}

/// Asked before it connects: the server writes a line about each attempt that fails, and stands
/// still once nobody reads them.
bool Jack::connect(const std::string& from, const std::string& to) const {
    return until([&] {
        return jack_port_by_name(client_, from.c_str()) && jack_port_by_name(client_, to.c_str()) &&
               jack_connect(client_, from.c_str(), to.c_str()) == 0;
    });
}

bool Jack::listenTo(const std::string& left, const std::string& right) const {
    return connect(left, jack_port_name(ears_[0])) && connect(right, jack_port_name(ears_[1]));
}

bool Jack::playInto(const std::string& left, const std::string& right) const {
    return connect(jack_port_name(mouths_[0]), left) && connect(jack_port_name(mouths_[1]), right);
}

bool Jack::hears(float left, float right) const {
    return until(
        [&] { return std::abs(peaks_[0] - left) < 0.01F && std::abs(peaks_[1] - right) < 0.01F; });
}

bool Jack::knowsLatency(jack_nframes_t frames) const {
    return until([&] {
        jack_latency_range_t range;
        jack_port_get_latency_range(ears_[0], JackCaptureLatency, &range);
        return range.min == frames && range.max == frames;
    });
}

}  // namespace qov::test
