#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace qov::hosts {
class Instance;
}

namespace qov::app {

class SoundLoop;

/// What calls the instance for sound: the JACK server, or a clock of our own. The instance is
/// active at rate() when start() is called. Nothing is processed any more once it is destroyed.
class SoundSource {
 public:
    virtual ~SoundSource() = default;
    /// Frames a second.
    virtual double rate() const = 0;
    /// The longest block that it asks for, in frames.
    virtual std::uint32_t longestBlock() const = 0;
    /// loop: mixed into the input.
    virtual bool start(hosts::Instance& instance, SoundLoop& loop) = 0;
    /// After a change of the instance's latency; the thread that calls start().
    virtual void reportLatency() {}
    /// Whether what calls for the sound has gone, as a JACK server may at any time. Any thread.
    virtual bool hasEnded() const { return false; }
};

/// A client of a JACK server: a stereo input and output and MIDI in. The output is connected to the
/// first two playback ports. server: its name; empty for the usual one. Null where no server
/// answers.
std::unique_ptr<SoundSource> openJack(const std::string& server);

/// Renders blocks of silence at a steady pace; the output is dropped.
std::unique_ptr<SoundSource> makeClock(double rate);

}  // namespace qov::app
