#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace qov::hosts {
class Instance;
}

namespace qov::app {

class SoundLoop;

/// Calls the instance's processing: the JACK server, or a clock. The instance is active at rate()
/// when start() is called. Processing has stopped when the destructor returns.
class SoundSource {
 public:
    virtual ~SoundSource() = default;
    /// Frames a second.
    virtual double rate() const = 0;
    /// The longest block that it processes, in frames.
    virtual std::uint32_t longestBlock() const = 0;
    /// Starts processing; loop is mixed into the input. False if it cannot.
    virtual bool start(hosts::Instance& instance, SoundLoop& loop) = 0;
    /// Call after a change of the instance's latency, on the thread that called start().
    virtual void reportLatency() {}
    /// Whether processing has ended, as a JACK server may end at any time. Any thread.
    virtual bool hasEnded() const { return false; }
};

/// A client of a JACK server: a stereo input and output and MIDI in. The output is connected to the
/// first two playback ports. server: its name; empty for the default one. Null if no server
/// answers.
std::unique_ptr<SoundSource> openJack(const std::string& server);

/// A thread that processes blocks in real time and discards the output; none for an empty loop.
std::unique_ptr<SoundSource> makeClock(double rate);

}  // namespace qov::app
