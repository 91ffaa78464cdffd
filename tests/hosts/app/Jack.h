#pragma once

#include <jack/jack.h>

#include <array>
#include <atomic>
#include <functional>
#include <string>

#include "tests/hosts/window/Child.h"

namespace qov::test {

/// Waits until it holds; false after half a minute.
bool until(const std::function<bool()>& condition);

/// A JACK server on its dummy driver (48000 Hz, blocks of 256), with a client that plays 0.5 on the
/// left alone and listens. Each bool function waits, and returns false after half a minute.
class Jack {
 public:
    Jack();
    ~Jack();
    Jack(const Jack&) = delete;
    Jack& operator=(const Jack&) = delete;

    /// Connects once the two ports of the other client are there.
    bool listenTo(const std::string& left, const std::string& right) const;
    bool playInto(const std::string& left, const std::string& right) const;
    /// Both sides have these peaks.
    bool hears(float left, float right) const;
    /// What it hears is reported to be so many frames late.
    bool knowsLatency(jack_nframes_t frames) const;

    const std::string name;

 private:
    bool connect(const std::string& from, const std::string& to) const;

    Child server_;
    jack_client_t* client_ = nullptr;
    std::array<jack_port_t*, 2> ears_{}, mouths_{};
    std::array<std::atomic<float>, 2> peaks_{0, 0};
};

}  // namespace qov::test
