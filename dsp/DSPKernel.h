#pragma once

#include <cstdint>

namespace platform {
struct AudioTimeStamp;
struct AUMIDIEvent;
union AURenderEvent;
}  // namespace platform

namespace qov {

/// Splits a render cycle at the times of its events. Render thread.
class DSPKernel {
 public:
    /// Renders frames of the current buffers, from bufferOffset on.
    virtual void process(std::uint32_t frameCount, std::uint32_t bufferOffset) = 0;
    virtual void handleMIDIEvent(const platform::AUMIDIEvent& midiEvent) = 0;
    /// duration is in frames.
    virtual void startRamp(std::uint64_t address, float value, std::uint32_t duration) = 0;

    /// One cycle. Events are a sorted list, null for none, with times inside the cycle: an earlier
    /// one takes effect at once, a later one stretches its segment past the cycle's end.
    void processWithEvents(const platform::AudioTimeStamp& timestamp, std::uint32_t frameCount,
                           const platform::AURenderEvent* events);
    void handleOneEvent(const platform::AURenderEvent* event);

 protected:
    // Kernels are held by value, never deleted through this class.
    ~DSPKernel() = default;
};

}  // namespace qov
