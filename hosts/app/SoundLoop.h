#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qov::app {

/// A stereo sound in memory, at a rate in frames a second.
struct Sound {
    std::vector<float> left, right;  ///< of the same length
    double rate = 0;

    /// The same sound at another rate. Empty where the rates are too far apart (256 times).
    Sound atRate(double newRate) const;
};

/// Mixes a sound into a signal, in a loop. mixInto() is for the audio thread and neither allocates
/// nor blocks; the rest may be called on any thread.
class SoundLoop {
 public:
    explicit SoundLoop(Sound sound) : sound_(std::move(sound)) {}

    /// Adds the next frames; a no-op while paused.
    void mixInto(float* left, float* right, std::uint32_t frames);
    bool isPlaying() const { return playing_.load(std::memory_order_relaxed); }
    void setPlaying(bool playing) { playing_.store(playing, std::memory_order_relaxed); }
    bool isEmpty() const { return sound_.left.empty(); }

 private:
    Sound sound_;
    std::size_t next_ = 0;
    std::atomic<bool> playing_{true};
};

}  // namespace qov::app
