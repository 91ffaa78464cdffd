#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace qov::cli {

struct AutomationEvent;

/// The effect as a file renderer drives it: a stereo block in, a block out, events on exact frames.
/// One thread at a time.
class Effect {
 public:
    /// Longest block of one render call, in frames.
    static constexpr std::uint32_t maximumFrames = 1024;

    /// A fresh effect with every parameter at its initial value. sampleRate in frames per second.
    explicit Effect(double sampleRate);
    ~Effect();
    Effect(const Effect&) = delete;
    Effect& operator=(const Effect&) = delete;

    /// Sets a parameter between render calls; see Parameters.h for addresses and ranges.
    void set(std::uint64_t address, float value);

    /// Takes up a factory preset, by its number, between render calls.
    void selectPreset(std::size_t number);

    /// Puts an event into the next render call, `offset` frames behind its start. Offsets of one
    /// call must not fall and must lie inside it; event.frame is not looked at.
    void schedule(std::uint32_t offset, const AutomationEvent& event);

    /// Renders 1..maximumFrames frames in place.
    void render(float* left, float* right, std::uint32_t frames);

    /// Frames by which a processed frame comes out later than it went in; bypassed ones come at
    /// once.
    std::uint32_t latency() const;

 private:
    struct Engine;
    std::unique_ptr<Engine> engine_;
};

}  // namespace qov::cli
